// Interface names come from items that any program of the router may write.
#pragma once

#include <net/if.h>
#include <string_view>

#include "base/text.h"

// Whether the kernel would take the name: 1 to 15 bytes, no slash, colon or white space, and
// neither "." nor ".." (net/core/dev.c, dev_valid_name; its white space includes byte 0xa0).
constexpr bool is_ifname(std::string_view name) {
    constexpr std::string_view refused = "/: \t\n\v\f\r\xa0";
    return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
           name.find_first_of(refused) == std::string_view::npos;
}

// The interface name that an item holds; empty also for one that the kernel would refuse. (With a
// buffer of IFNAMSIZ, a longer name is cut before it could be refused.)
template <int N> text<N> item_ifname(int id) {
    const text<N> name = item_text<N>(id);
    return is_ifname(name.c_str()) ? name : text<N>{};
}

// The same, with a name to fall back on.
template <int N> text<N> item_ifname_or(int id, const char *fallback) {
    const text<N> name = item_ifname<N>(id);
    return name.empty() ? to_text<N>(fallback) : name;
}
