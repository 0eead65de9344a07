#include "tools/known_settings.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/cli.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/setting_ranges.h"

namespace settings {

namespace {

constexpr values number(int least, int most) {
    return {.is = kind::number, .least = least, .most = most};
}
constexpr values of_kind(kind is) {
    return {.is = is, .least = 0, .most = 0};
}

constexpr indexing ONCE = {.bare_0 = true, .last = 0};
constexpr indexing EACH_WAN = {.bare_0 = true, .last = MAX_WAN_INDEX};
constexpr indexing EACH_WAN_WITH_0 = {.bare_0 = false, .last = MAX_WAN_INDEX};
constexpr indexing EACH_LAN = {.bare_0 = true, .last = SUBNETS_PER_SIDE - 1};
constexpr indexing EACH_VLAN = {.bare_0 = false, .last = SUBNETS_PER_SIDE - 1};

constexpr values ANY_NUMBER = number(INT_MIN, INT_MAX);
constexpr values VLAN_ID = {.is = kind::vlan_id, .least = VLAN_IDS.least, .most = VLAN_IDS.most};
constexpr values SWITCH = of_kind(kind::on_off);
constexpr values IP_VERSION = of_kind(kind::ip_version);
constexpr values IPV4_MODE = of_kind(kind::ipv4_mode);
constexpr values PDP_TYPE = of_kind(kind::pdp_type);
constexpr values QUAD = of_kind(kind::quad);
constexpr values HEX_MASK = of_kind(kind::hex_mask);
constexpr values PPP_USER = of_kind(kind::ppp_user);
constexpr values PPP_PASSWORD = of_kind(kind::ppp_password);

// The four texts of each row, each with its NUL.
#define ROW(key, indexes, values, fallback, otherwise, effect)                                     \
    "" #key "\0" fallback "\0" otherwise "\0" effect "\0"
constexpr char TEXTS[] = UPLINKD_SETTINGS(ROW);
#undef ROW

constexpr auto SETTINGS = [] {
#define ROW(key, indexes, values, fallback, otherwise, effect)                                     \
    setting{indexes, values, sizeof(#key) + sizeof(fallback) + sizeof(otherwise) + sizeof(effect)},
    std::array rows = {UPLINKD_SETTINGS(ROW)};
#undef ROW
    unsigned short at = 0;
    for (setting &row : rows)
        at += std::exchange(row.texts, at);
    return rows;
}();

constexpr std::string_view DIGITS = "0123456789";
constexpr int MAX_KEY_LENGTH = key_text::size() - 1;

char small(char c) {
    return cli::to_small(c);
}

// How many letters have to be put in, left out, replaced or swapped with a neighbour to make one
// key of the other. Neither is longer than MAX_KEY_LENGTH.
int distance(std::string_view one, std::string_view other) {
    int rows[3][MAX_KEY_LENGTH + 1];
    int *above_last = rows[0], *above = rows[1], *row = rows[2];
    for (size_t x = 0; x <= other.size(); x++)
        row[x] = static_cast<int>(x);
    for (size_t y = 1; y <= one.size(); y++) {
        std::swap(above_last, above);
        std::swap(above, row);
        row[0] = static_cast<int>(y);
        for (size_t x = 1; x <= other.size(); x++) {
            const char c = small(one[y - 1]), d = small(other[x - 1]);
            row[x] = std::min({above[x] + 1, row[x - 1] + 1, above[x - 1] + (c == d ? 0 : 1)});
            if (x > 1 && y > 1 && c == small(other[x - 2]) && d == small(one[y - 2]))
                row[x] = std::min(row[x], above_last[x - 2] + 1);
        }
    }
    return row[other.size()];
}

// Keys with other digits are other keys: what is one's for IPv4 may be another's for IPv6.
bool have_same_digits(std::string_view one, std::string_view other) {
    for (;;) {
        one.remove_prefix(std::min(one.size(), one.find_first_of(DIGITS)));
        other.remove_prefix(std::min(other.size(), other.find_first_of(DIGITS)));
        if (one.empty() || other.empty())
            return one.empty() && other.empty();
        if (one[0] != other[0])
            return false;
        one.remove_prefix(1);
        other.remove_prefix(1);
    }
}

// The key that is nearest to KEY, if it is so near that it may well have been meant.
recognised nearest_to(std::string_view key) {
    recognised nearest;
    if (key.size() > MAX_KEY_LENGTH)
        return nearest;
    int most = std::clamp(static_cast<int>(key.size()) / 8, 1, 3);
    for (const setting &one : SETTINGS) {
        for (int idx = 0; idx <= one.indexes.last; idx++) {
            const key_text candidate = key_of(one, idx);
            if (!have_same_digits(key, candidate.c_str()))
                continue;
            const int apart = distance(key, candidate.c_str());
            if (apart > most)
                continue;
            most = apart - 1;
            nearest = {.known = &one, .idx = idx, .is_right = false, .meant = candidate};
        }
    }
    return nearest;
}

// What KEY is, which is that of ONE with DIGITS for its index, or without any.
recognised by_index(const setting &one, std::string_view key, std::string_view digits) {
    recognised given = {.known = &one, .idx = 0, .is_right = false, .meant = {}};
    if (digits.empty() && !one.indexes.bare_0)
        return given;
    if (one.indexes.last > 0 && !digits.empty() && !cli::take_number(digits, 10, given.idx))
        given.idx = INT_MAX;
    if (given.idx > one.indexes.last)
        return given;
    given.meant = key_of(one, given.idx);
    given.is_right = key == given.meant.c_str();
    return given;
}

} // namespace

std::span<const setting> all() {
    return SETTINGS;
}

std::string_view setting::part(int number) const {
    const char *at = TEXTS + texts;
    for (; number > 0; number--)
        at += strlen(at) + 1;
    return at;
}

key_text key_of(const setting &one, int idx) {
    const bool is_bare = one.indexes.bare_0 && idx == 0;
    const char *const key = one.key().data();
    return to_text<key_text::size()>(is_bare ? key : always_indexed_key(key, idx).c_str());
}

recognised recognise(std::string_view key) {
    for (const setting &one : SETTINGS) {
        if (!key.starts_with(one.key()))
            continue;
        const std::string_view suffix = key.substr(one.key().size());
        const std::string_view digits = suffix.substr(std::min<size_t>(suffix.size(), 1));
        if (suffix.empty() || (suffix[0] == '_' && !digits.empty() &&
                               digits.find_first_not_of(DIGITS) == std::string_view::npos))
            return by_index(one, key, digits);
    }
    return nearest_to(key);
}

} // namespace settings
