#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <functional>

namespace quillon::platform::linux_ {

// The pages of mapped files (libraries, fonts) that this process holds
// resident. Code and read-only data that a part of the app no longer runs
// (a closed window's toolkit) stay counted in its resident memory until the
// kernel needs the memory back; release() hands them back at once. The files
// stay in the page cache, so using them again costs minor page faults, not
// disk reads.
//
// Only read-only mappings without a private (copy-on-write) page qualify:
// for those, dropping a page can never lose data, because the kernel reads
// the same bytes back from the file. The listing is read before the pages
// are dropped, so the wanted files must be ones no other thread maps or
// unmaps meanwhile (libraries that stay loaded; files the calling thread
// alone maps).
class ResidentFilePages {
public:
    // Which mapped files to release, by path.
    using PathFilter = std::function<bool(QByteArrayView path)>;

    ResidentFilePages() = delete;

    // Releases this process's qualifying pages of the wanted files; returns
    // how many KiB were resident in them (0 when /proc cannot be read).
    static std::int64_t release(const PathFilter& wanted);
};

} // namespace quillon::platform::linux_
