#include "tools/watch/secrets.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/random.h>

#include "base/text.h"
#include "batch/shell_quote.h"

namespace secrets {

namespace {

constexpr std::string_view LEFT_OUT = "(left out)";

text<64> kept[32];
size_t count = 0;

// What a text becomes; cut where it does not fit.
struct buffer {
    std::array<char, 8192> bytes;
    size_t length;

    void add(std::string_view part) {
        const size_t room = std::min(part.size(), bytes.size() - length);
        memcpy(&bytes[length], part.data(), room);
        length += room;
    }
    std::string_view view() const { return {bytes.data(), length}; }
};
buffer without_accounts = {}, without_addresses = {};

bool is_word_character(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// The secret that REST begins with, of one that is not part of a longer word; 0 for none. (A user
// name of one letter must not take that letter out of every word.)
size_t secret_length(std::string_view rest, char before) {
    for (size_t i = 0; i < count; i++) {
        const char *const plain = kept[i].c_str();
        const quoted_text quoted = shell_word(plain);
        for (const std::string_view form :
             {std::string_view(plain), std::string_view(quoted.c_str())}) {
            if (form.empty() || !rest.starts_with(form))
                continue;
            const char after = rest.size() > form.size() ? rest[form.size()] : ' ';
            if ((is_word_character(before) && is_word_character(form.front())) ||
                (is_word_character(after) && is_word_character(form.back())))
                continue;
            return form.size();
        }
    }
    return 0;
}

std::string_view leave_out_accounts(std::string_view source) {
    if (count == 0)
        return source;
    without_accounts.length = 0;
    char before = ' ';
    while (!source.empty()) {
        const size_t length = secret_length(source, before);
        without_accounts.add(length > 0 ? LEFT_OUT : source.substr(0, 1));
        before = source[length > 0 ? length - 1 : 0];
        source.remove_prefix(std::max<size_t>(length, 1));
    }
    return without_accounts.view();
}

// ---- addresses

// A number that follows from the first BITS bits of ADDRESS and from a key of this process alone.
uint64_t mix(const unsigned char *address, int bits) {
    static uint64_t key[2];
    static bool has_key = false;
    if (!has_key)
        has_key = getrandom(key, sizeof key, 0) == sizeof key;
    uint64_t state = key[0] ^ static_cast<uint64_t>(bits) * 0x9e3779b97f4a7c15;
    for (int i = 0; i < bits; i += 8) {
        const int left = std::min(bits - i, 8);
        const unsigned part = address[i / 8] & (0xff00u >> left & 0xffu);
        state = (state ^ part) * 0xff51afd7ed558ccd;
        state ^= state >> 29;
    }
    state = (state ^ key[1]) * 0xc4ceb9fe1a85ec53;
    return state ^ state >> 32;
}

// Every bit after the first FIXED is turned over or not by what stands before it.
void scramble(unsigned char *address, int size_in_bits, int fixed) {
    unsigned char result[16];
    memcpy(result, address, static_cast<size_t>(size_in_bits / 8));
    for (int bit = fixed; bit < size_in_bits; bit++)
        if ((mix(address, bit) & 1) != 0)
            result[bit / 8] = static_cast<unsigned char>(result[bit / 8] ^ (0x80 >> bit % 8));
    memcpy(address, result, static_cast<size_t>(size_in_bits / 8));
}

bool is_netmask(const unsigned char *address) {
    const uint32_t value = static_cast<uint32_t>(address[0]) << 24 |
                           static_cast<uint32_t>(address[1]) << 16 |
                           static_cast<uint32_t>(address[2]) << 8 | address[3];
    const uint32_t holes = ~value;
    return (holes & (holes + 1)) == 0;
}

using token_text = text<48>;

bool replace_ipv4(const token_text &token, token_text &result) {
    unsigned char address[4];
    if (inet_pton(AF_INET, token.c_str(), address) != 1)
        return false;
    if (!is_netmask(address))
        scramble(address, 32, 8);
    inet_ntop(AF_INET, address, result.data(), sizeof result.chars);
    return true;
}

bool replace_mac(const token_text &token, token_text &result) {
    unsigned char bytes[6];
    const char *at = token.c_str();
    if (strlen(at) != 17)
        return false;
    for (unsigned char &byte : bytes) {
        char *end;
        byte = static_cast<unsigned char>(strtoul(at, &end, 16));
        if (end != at + 2 || (*end != ':' && *end != '\0'))
            return false;
        at = end + 1;
    }
    const uint64_t other = mix(bytes, 48);
    snprintf(result.data(), sizeof result.chars, "02:%02x:%02x:%02x:%02x:%02x",
             static_cast<unsigned>(other & 0xff), static_cast<unsigned>(other >> 8 & 0xff),
             static_cast<unsigned>(other >> 16 & 0xff), static_cast<unsigned>(other >> 24 & 0xff),
             static_cast<unsigned>(other >> 32 & 0xff));
    return true;
}

bool replace_ipv6(const token_text &token, token_text &result) {
    unsigned char address[16];
    if (inet_pton(AF_INET6, token.c_str(), address) != 1)
        return false;
    constexpr unsigned char NONE[16] = {};
    if (memcmp(address, NONE, sizeof NONE) != 0)
        scramble(address, 128, 16);
    inet_ntop(AF_INET6, address, result.data(), sizeof result.chars);
    return true;
}

// Whether CORE was an address and has been added as another one.
bool add_address(std::string_view core) {
    token_text token, result;
    if (core.size() >= sizeof token.chars || core.find_first_of(".:") == core.npos)
        return false;
    memcpy(token.data(), core.data(), core.size());
    if (!replace_ipv4(token, result) && !replace_mac(token, result) && !replace_ipv6(token, result))
        return false;
    without_addresses.add(result.c_str());
    return true;
}

// A run of what addresses are written in: one, alone, with a port, or before the end of a sentence.
void add_token(std::string_view run) {
    std::string_view core = run;
    while (!core.empty() && (core.back() == '.' || (core.back() == ':' && !core.ends_with("::"))))
        core.remove_suffix(1);
    if (!add_address(core)) {
        core = run.substr(0, run.find(':'));
        if (!add_address(core))
            core = {};
    }
    without_addresses.add(run.substr(core.size()));
}

std::string_view leave_out_addresses(std::string_view source) {
    constexpr std::string_view PARTS = "0123456789abcdefABCDEF.:";
    without_addresses.length = 0;
    bool in_word = false; // the letters of a word are no address
    while (!source.empty()) {
        size_t length = source.find_first_not_of(PARTS);
        length = std::min(length, source.size());
        if (length == 0) {
            without_addresses.add(source.substr(0, 1));
            in_word = is_word_character(source[0]);
            source.remove_prefix(1);
            continue;
        }
        const bool goes_on = source.size() > length && is_word_character(source[length]);
        if (in_word || goes_on)
            without_addresses.add(source.substr(0, length));
        else
            add_token(source.substr(0, length));
        in_word = false;
        source.remove_prefix(length);
    }
    return without_addresses.view();
}

} // namespace

void add(const char *value) {
    if (value[0] == '\0')
        return;
    for (size_t i = 0; i < count; i++)
        if (strcmp(kept[i].c_str(), value) == 0)
            return;
    // When there are more, the oldest is least likely to come up again.
    if (count == sizeof kept / sizeof *kept)
        memmove(&kept[0], &kept[1], --count * sizeof *kept);
    kept[count++] = to_text<64>(value);
}

std::string_view leave_out(std::string_view source, bool replace_addresses) {
    const std::string_view safe = leave_out_accounts(source);
    return replace_addresses ? leave_out_addresses(safe) : safe;
}

} // namespace secrets
