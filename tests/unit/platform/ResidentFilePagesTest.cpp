// Pages of mapped files are given back without ever losing a private copy.
#include "platform/linux/ResidentFilePages.h"

#include "support/Files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/mman.h>

namespace {

using quillon::platform::linux_::ResidentFilePages;

constexpr std::size_t kSize = 16 * 4096;

// A read-only view of a file, unmapped at the end.
struct Mapped {
    Mapped(const QString& path, bool copyWritten)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const int protection = copyWritten ? PROT_READ | PROT_WRITE : PROT_READ;
        void* at = ::mmap(nullptr, kSize, protection, MAP_PRIVATE, file.handle(), 0);
        if (at == MAP_FAILED)
            return;
        bytes = static_cast<char*>(at);
        // A page written, then made read-only, like a library's relocated data.
        if (copyWritten) {
            bytes[4096] = 'W';
            ::mprotect(bytes, kSize, PROT_READ);
        }
        const volatile char* pages = bytes; // read, so that they are resident
        for (std::size_t i = 0; i < kSize; i += 4096)
            (void)pages[i];
    }
    ~Mapped()
    {
        if (bytes)
            ::munmap(bytes, kSize);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;

    char* bytes = nullptr;
};

TEST(ResidentFilePages, ReleasesOnlyWantedReadOnlyPagesAndKeepsPrivateCopies)
{
    QTemporaryDir dir;
    // A space in the name, as in a user's font folder.
    const QString plain = dir.filePath("plain file.so");
    const QString relocated = dir.filePath("relocated.so");
    ASSERT_TRUE(quillon::test::writeFile(plain, QByteArray(kSize, 'p')));
    ASSERT_TRUE(quillon::test::writeFile(relocated, QByteArray(kSize, 'r')));
    const Mapped clean(plain, false);
    const Mapped copied(relocated, true);
    ASSERT_TRUE(clean.bytes && copied.bytes);

    const auto only = [](const QString& path) {
        return [wanted = path.toUtf8()](QByteArrayView mapped) {
            return mapped == wanted;
        };
    };
    EXPECT_EQ(ResidentFilePages::release(only(plain)), static_cast<std::int64_t>(kSize / 1024));
    EXPECT_EQ(ResidentFilePages::release(only(plain)), 0) << "its pages are gone";
    EXPECT_EQ(clean.bytes[kSize - 1], 'p') << "and read back from the file";

    EXPECT_EQ(ResidentFilePages::release(only(relocated)), 0) << "a mapping with a private copy is left whole";
    EXPECT_EQ(copied.bytes[4096], 'W');
    EXPECT_EQ(copied.bytes[0], 'r');
    EXPECT_EQ(ResidentFilePages::release([](QByteArrayView) { return false; }), 0);
}

} // namespace
