#include "OpenFileLimit.h"

#include <algorithm>
#include <sys/resource.h>

namespace quillon::platform::linux_ {

long OpenFileLimit::raise(long wanted)
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return -1;
    const rlim_t target = limit.rlim_max == RLIM_INFINITY ? static_cast<rlim_t>(wanted)
                                                          : std::min(limit.rlim_max, static_cast<rlim_t>(wanted));
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur < target) {
        limit.rlim_cur = target;
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0 && ::getrlimit(RLIMIT_NOFILE, &limit) != 0)
            return -1;
    }
    return limit.rlim_cur == RLIM_INFINITY ? wanted : static_cast<long>(limit.rlim_cur);
}

} // namespace quillon::platform::linux_
