// The settings that the daemon knows, as data: wan/setting_keys.h with all its texts.
#pragma once

#include <span>
#include <string_view>

#include "base/text.h"

namespace settings {

// What decides whether a value is in range; setting_faults.cpp has a function of the daemon for
// each.
enum class kind : unsigned char {
    number,
    vlan_id,
    on_off,
    ip_version,
    ipv4_mode,
    pdp_type,
    quad,
    hex_mask,
    ppp_user,
    ppp_password
};

// The indexes 0 to `last`; index 0 has the bare key, or like the others KEY_<idx>.
struct indexing {
    bool bare_0;
    signed char last;
};

struct values {
    kind is;
    int least, most; // of a number
};

struct setting {
    indexing indexes;
    values takes;
    unsigned short texts; // where the four below begin: a pointer would cost a relocation

    std::string_view key() const { return part(0); }
    std::string_view fallback() const { return part(1); }
    std::string_view otherwise() const { return part(2); } // empty: it counts as another value
    std::string_view effect() const { return part(3); }

    bool is_secret() const { return takes.is == kind::ppp_password; }

private:
    std::string_view part(int number) const;
};

std::span<const setting> all();

// The words that a setting takes, a blank between two; empty for most kinds.
std::string_view words_of(const setting &one);

using short_text = text<80>;

// Its keys, and what values it takes, in a few words (as the above, in setting_names.cpp).
short_text spelling_of(const setting &one);
short_text range_of(const setting &one);

using key_text = text<48>;

key_text key_of(const setting &one, int idx);

// What KEY is, or looks like: `known` is null for a key of another program. Where it only looks
// like a known one, `meant` is the key that it should be, or is empty if only the index is wrong.
struct recognised {
    const setting *known = nullptr;
    int idx = 0;
    bool is_right = false;
    key_text meant;
};
recognised recognise(std::string_view key);

using fault_text = text<256>;

// Why VALUE is out of range for index IDX, and what the daemon does instead; empty if it is not. A
// secret is not repeated.
fault_text fault_of_value(const setting &one, int idx, std::string_view value);

// The same for a key that is not right.
fault_text fault_of_key(const recognised &given);

} // namespace settings
