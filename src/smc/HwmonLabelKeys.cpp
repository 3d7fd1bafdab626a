#include "HwmonLabelKeys.h"

#include <algorithm>
#include <cctype>

namespace quillon::smc {

namespace {

struct Group {
    char letter;
    const char* words[2];
};
// Matched in this order: "GPU" before "CPU" keeps "GPU Core" out of the CPU group.
constexpr Group kGroups[] = {
    {'p', {"performance core", "p-core"}},
    {'e', {"efficiency core", "e-core"}},
    {'g', {"gpu", "gpu"}},
    {'c', {"soc die", "cpu"}},
    {'x', {"", ""}},
};
constexpr int kDigits = 36;

char digit(int value)
{
    return static_cast<char>(value < 10 ? '0' + value : 'A' + (value - 10));
}

} // namespace

bool HwmonLabelKeys::isRawKey(const std::string& label)
{
    return label.size() == 4 && label[0] == 'T'
        && std::all_of(label.begin(), label.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)); });
}

std::string HwmonLabelKeys::keyFor(const std::string& label)
{
    if (isRawKey(label)) {
        m_sawRawKeys = true;
        return label;
    }
    std::string lower = label;
    std::transform(lower.begin(), lower.end(), lower.begin(),
        [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    for (int g = 0; g < static_cast<int>(std::size(kGroups)); ++g) {
        const Group& group = kGroups[g];
        const bool last = g + 1 == static_cast<int>(std::size(kGroups));
        if (!last && lower.find(group.words[0]) == std::string::npos && lower.find(group.words[1]) == std::string::npos)
            continue;
        return next(g);
    }
    return {};
}

std::string HwmonLabelKeys::keyIn(char letter)
{
    const auto last = static_cast<int>(std::size(kGroups)) - 1;
    int g = 0;
    while (g < last && kGroups[g].letter != letter)
        ++g;
    return next(g);
}

std::string HwmonLabelKeys::next(int group)
{
    const int n = m_counts[group]++;
    if (n >= kDigits * kDigits)
        return {};
    return std::string{'T', kGroups[group].letter, digit(n / kDigits), digit(n % kDigits)};
}

} // namespace quillon::smc
