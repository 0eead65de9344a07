// What is wrong with a value or a key. Whether a value is in range is decided by the functions and
// tables that the daemon itself reads it with.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "batch/shell_quote.h"
#include "guard/subnet_conflict.h"
#include "platform/network.h"
#include "tools/cli.h"
#include "tools/known_settings.h"
#include "wan/setting_ranges.h"
#include "wan/uplinks.h"
#include "wan/wan_settings.h"

namespace settings {

namespace {

// A value, cut far beyond what the daemon reads of any.
using value_text = text<256>;

[[gnu::format(printf, 1, 2)]] fault_text fault(const char *format, ...) {
    fault_text message;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message.data(), static_cast<size_t>(message.size()), format, arguments);
    va_end(arguments);
    return message;
}

fault_text out_of_range(const setting &one) {
    return fault("not in range (%s); %s", range_of(one).c_str(), one.otherwise().data());
}

bool is_number_in_range(const setting &one, int idx, int number) {
    if (one.takes.is == kind::vlan_id)
        return is_vlan_id_of_index(number, idx);
    return number_range{.least = one.takes.least, .most = one.takes.most}.holds(number);
}

fault_text fault_of_number(const setting &one, int idx, const value_text &value) {
    const int number = to_int(value.c_str());
    if (!is_number_in_range(one, idx, number))
        return out_of_range(one);
    char plain[16];
    snprintf(plain, sizeof plain, "%d", number);
    return strcmp(plain, value.c_str()) == 0 ? fault_text{}
                                             : fault("not a plain number; it counts as %d", number);
}

text<32> in_small_letters(const value_text &value) {
    auto small = to_text<32>(value.c_str());
    uplinkd_util_str_tolower(small.data(), small.size());
    return small;
}

fault_text fault_of_ipv4_mode(const setting &one, int idx, const value_text &value) {
    const uplinkd_ipmode mode =
        value_of_name(IPV4_MODES, in_small_letters(value).c_str(), IPMODE_NONE);
    if (mode == IPMODE_NONE)
        return out_of_range(one);
    if (idx == 0 && learns_address(WIRED_UPLINK, value.c_str()) != (mode != IPMODE_STATIC))
        return fault("not in just these letters (%s); it is judged by the static addresses",
                     range_of(one).c_str());
    return {};
}

// Words that the daemon does not know are the mobile network's own.
fault_text fault_of_pdp_type(const setting &one, const value_text &value) {
    value_text large = value;
    for (char &c : large.chars)
        c = cli::to_large(c);
    if (is_ipv6_pdp_type(value.c_str()) || !is_ipv6_pdp_type(large.c_str()))
        return {};
    return fault("not in just these letters (%s); %s", large.c_str(), one.otherwise().data());
}

bool is_quad(const value_text &value) {
    return util_get_2_network_segment_relations4(value.c_str(), "0.0.0.0", "0.0.0.0", "0.0.0.0") !=
           SEGMENT_MALFORMED;
}

fault_text fault_of_mask(const setting &one, const value_text &value) {
    const size_t digits = strspn(value.c_str(), "0123456789abcdefABCDEF");
    if (digits <= 2 * sizeof(uint32_t) && value.chars[digits] == '\0')
        return {};
    uint32_t lowest = 0;
    uplinkd_parse_hex_words(value.c_str(), BRIDGE_MASK_SIZE, &lowest, nullptr, nullptr);
    return fault("not in range (%s); it counts as %X", range_of(one).c_str(), lowest);
}

fault_text fault_of_account(const setting &one, const value_text &value) {
    const auto read = to_text<PPP_ACCOUNT_SIZE>(value.c_str());
    const char *const why =
        one.is_secret() ? fault_of_ppp_password(read.c_str()) : fault_of_ppp_user(read.c_str());
    if (why != nullptr)
        return fault("%s; %s", why, one.otherwise().data());
    return strlen(value.c_str()) < sizeof read.chars
               ? fault_text{}
               : fault("not in range (%s); it is cut", range_of(one).c_str());
}

} // namespace

fault_text fault_of_value(const setting &one, int idx, std::string_view given) {
    value_text value;
    given.copy(value.data(), sizeof value.chars - 1);
    if (value.empty()) // the same as none
        return {};
    const auto unless = [&one](bool in_range) {
        return in_range ? fault_text{} : out_of_range(one);
    };
    switch (one.takes.is) {
    case kind::number:
    case kind::vlan_id: return fault_of_number(one, idx, value);
    case kind::on_off:
        if (value.chars[1] == '\0' && (value.chars[0] == '0' || value.chars[0] == '1'))
            return {};
        return fault("not in range (%s); it counts as %d", range_of(one).c_str(),
                     is_one(value) ? 1 : 0);
    case kind::ip_version:
        return unless(value_of_name(IP_VERSIONS, in_small_letters(value).c_str(), IPVER_NONE) !=
                      IPVER_NONE);
    case kind::ipv4_mode: return fault_of_ipv4_mode(one, idx, value);
    case kind::pdp_type: return fault_of_pdp_type(one, value);
    case kind::quad: return unless(is_quad(value));
    case kind::hex_mask: return fault_of_mask(one, value);
    case kind::ppp_user:
    case kind::ppp_password: return fault_of_account(one, value);
    }
    return {};
}

fault_text fault_of_key(const recognised &given) {
    if (given.meant.empty())
        return fault("known are %s; the daemon does not read it",
                     spelling_of(*given.known).c_str());
    return fault("%s may be meant; the daemon does not read it", given.meant.c_str());
}

} // namespace settings
