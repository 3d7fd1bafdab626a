#include "HwmonScan.h"

#include "SysfsFile.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>

namespace quillon::smc {

namespace {

std::string realPath(const std::string& path)
{
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) ? std::string(resolved) : std::string();
}

} // namespace

std::vector<HwmonScan::Device> HwmonScan::devices(const std::string& sysfsRoot)
{
    std::vector<Device> found;
    const std::string root = realPath(sysfsRoot);
    const std::string classDir = sysfsRoot + "/class/hwmon";
    DIR* dir = root.empty() ? nullptr : ::opendir(classDir.c_str());
    if (!dir)
        return found;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.')
            continue;
        const std::string entryPath = classDir + '/' + entry->d_name;
        struct stat link { };
        if (::lstat(entryPath.c_str(), &link) != 0)
            continue;
        const std::string real = realPath(entryPath);
        const bool expected = S_ISDIR(link.st_mode) || real.starts_with(root + "/devices/");
        if (real.empty() || !expected)
            continue;
        std::optional<std::string> name = SysfsFile::readLine(real + "/name");
        if (!name || name->empty())
            continue;
        found.push_back({std::move(*name), real, real.substr(std::min(real.size(), root.size() + 1))});
    }
    ::closedir(dir);
    std::sort(found.begin(), found.end(), [](const Device& a, const Device& b) { return a.devicePath < b.devicePath; });
    return found;
}

} // namespace quillon::smc
