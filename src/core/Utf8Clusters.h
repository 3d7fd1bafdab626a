#pragma once

#include <string_view>
#include <vector>

namespace quillon::core {

// Splits UTF-8 text into user-perceived characters, close enough for SMC key
// validation: a character is a code point together with the combining marks,
// variation selectors, emoji modifiers and zero-width-joined code points that
// follow it. Invalid bytes count as one character each, so garbage never
// collapses into a valid-looking key.
class Utf8Clusters {
public:
    Utf8Clusters() = delete;

    static std::vector<std::string_view> split(std::string_view text);
};

} // namespace quillon::core
