// Interface names come from items that anybody on the router may write.
#pragma once

#include <cstdio>
#include <net/if.h>
#include <string_view>

#include "core/text.h"

// Whether the kernel would take the name: 1 to 15 bytes, no slash, colon or white space, and
// neither "." nor ".." (net/core/dev.c, dev_valid_name).
constexpr bool is_ifname(std::string_view name) {
    constexpr std::string_view refused = "/: \t\n\v\f\r";
    return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
           name.find_first_of(refused) == std::string_view::npos;
}

// The interface name that an item holds; empty also for one that the kernel would refuse.
template <int N> text<N> item_ifname(int id) {
    const text<N> name = item_text<N>(id);
    return is_ifname(name.c_str()) ? name : text<N>{};
}

// The same, with a name to fall back on.
template <int N> text<N> item_ifname_or(int id, const char *fallback) {
    text<N> name = item_ifname<N>(id);
    if (name.empty())
        snprintf(name.data(), sizeof name.chars, "%s", fallback);
    return name;
}
