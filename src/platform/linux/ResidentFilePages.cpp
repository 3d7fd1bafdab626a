#include "ResidentFilePages.h"

#include <QFile>
#include <algorithm>
#include <cstdint>
#include <sys/mman.h>
#include <vector>

namespace quillon::platform::linux_ {

namespace {

struct Range {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    std::int64_t residentKiB = 0;
};

// "Anonymous:      12 kB" -> 12; -1 for a malformed line.
std::int64_t kibOf(QByteArrayView line)
{
    const qsizetype colon = line.indexOf(':');
    QByteArrayView value = line.sliced(colon + 1).trimmed();
    if (value.endsWith("kB"))
        value.chop(2);
    bool ok = false;
    const std::int64_t kib = value.trimmed().toLongLong(&ok);
    return ok ? kib : -1;
}

// One mapping's head line: "start-end perms offset dev inode [path]".
struct Mapping {
    Range range;
    bool readOnly = false;
    bool file = false;
    bool locked = false;
    std::int64_t privatePages = 0; // KiB of copy-on-write (anonymous) pages
    QByteArrayView path;
};

bool parseHead(QByteArrayView line, Mapping& mapping)
{
    const qsizetype dash = line.indexOf('-');
    const qsizetype space = line.indexOf(' ');
    if (dash <= 0 || space <= dash)
        return false;
    bool startOk = false;
    bool endOk = false;
    mapping = {};
    mapping.range.start = static_cast<std::uintptr_t>(line.first(dash).toULongLong(&startOk, 16));
    mapping.range.end = static_cast<std::uintptr_t>(line.sliced(dash + 1, space - dash - 1).toULongLong(&endOk, 16));
    const QByteArrayView perms = line.sliced(space + 1).first(std::min<qsizetype>(4, line.size() - space - 1));
    if (!startOk || !endOk || mapping.range.end <= mapping.range.start || perms.size() < 4)
        return false;
    mapping.readOnly = perms[0] == 'r' && perms[1] == '-';
    // The path is the sixth field and may hold spaces; it begins with '/' for a file.
    const qsizetype slash = line.indexOf('/', space);
    if (slash > 0) {
        mapping.file = true;
        mapping.path = line.sliced(slash);
    }
    return true;
}

// The ranges of an smaps listing (the text of /proc/PID/smaps) that qualify
// and have resident pages.
std::vector<Range> releasable(QByteArrayView smaps, const ResidentFilePages::PathFilter& wanted)
{
    std::vector<Range> ranges;
    Mapping mapping;
    bool open = false;
    const auto finish = [&] {
        if (open && mapping.file && mapping.readOnly && !mapping.locked && mapping.privatePages == 0
            && mapping.range.residentKiB > 0 && wanted(mapping.path))
            ranges.push_back(mapping.range);
        open = false;
    };
    while (!smaps.isEmpty()) {
        const qsizetype newline = smaps.indexOf('\n');
        const QByteArrayView line = newline < 0 ? smaps : smaps.first(newline);
        smaps = newline < 0 ? QByteArrayView() : smaps.sliced(newline + 1);
        // Field lines begin with a capital letter, head lines with a hex digit of the address.
        const bool field = !line.isEmpty() && line[0] >= 'A' && line[0] <= 'Z';
        if (!field) {
            finish();
            open = parseHead(line, mapping);
        } else if (!open) {
            continue;
        } else if (line.startsWith("Rss:")) {
            mapping.range.residentKiB = kibOf(line);
        } else if (line.startsWith("Anonymous:")) {
            // Unreadable counts as private: the mapping is then left alone.
            const std::int64_t kib = kibOf(line);
            mapping.privatePages = kib < 0 ? 1 : kib;
        } else if (line.startsWith("VmFlags:")) {
            mapping.locked = line.contains(" lo");
        }
    }
    finish();
    return ranges;
}

} // namespace

std::int64_t ResidentFilePages::release(const PathFilter& wanted)
{
    QFile smaps(QStringLiteral("/proc/self/smaps"));
    if (!smaps.open(QIODevice::ReadOnly))
        return 0;
    // Read whole first: releasing while reading would change what is read.
    const QByteArray text = smaps.readAll();
    std::int64_t released = 0;
    for (const Range& range : releasable(text, wanted)) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the address comes from the kernel's own listing
        if (::madvise(reinterpret_cast<void*>(range.start), range.end - range.start, MADV_DONTNEED) == 0)
            released += range.residentKiB;
    }
    return released;
}

} // namespace quillon::platform::linux_
