#include "tools/setting_names.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/config_store.h"
#include "tools/cli.h"
#include "tools/known_settings.h"
#include "tools/output.h"

namespace settings {

std::string_view words_of(const setting &one) {
    switch (one.takes.is) {
    case kind::on_off: return "0 1";
    case kind::ip_version: return "ipv4 ipv6 ipv4v6";
    case kind::ipv4_mode: return "dhcp static linkPPP";
    case kind::pdp_type: return "IPV6 IPV4V6";
    case kind::number:
    case kind::vlan_id:
    case kind::quad:
    case kind::hex_mask:
    case kind::ppp_user:
    case kind::ppp_password: break;
    }
    return "";
}

static short_text number_range_of(const values &takes) {
    short_text range;
    if (takes.least == INT_MIN)
        return to_text<short_text::size()>("a number");
    if (takes.most == INT_MAX)
        snprintf(range.data(), sizeof range.chars, "%d or more", takes.least);
    else
        snprintf(range.data(), sizeof range.chars, "%d to %d", takes.least, takes.most);
    return range;
}

// WORDS, a blank between two, as a reader expects them.
static short_text enumerate(std::string_view words) {
    short_text list;
    const size_t last = words.rfind(' ');
    size_t length = 0;
    for (size_t at = 0; at < words.size(); at++) {
        const std::string_view piece = words[at] != ' ' ? words.substr(at, 1)
                                       : at == last     ? " or "
                                                        : ", ";
        length += piece.copy(list.data() + length, sizeof list.chars - 1 - length);
    }
    return list;
}

short_text range_of(const setting &one) {
    const auto range = [](const char *text) { return to_text<short_text::size()>(text); };
    switch (one.takes.is) {
    case kind::number:
    case kind::vlan_id: return number_range_of(one.takes);
    case kind::on_off:
    case kind::ip_version:
    case kind::ipv4_mode: return enumerate(words_of(one));
    case kind::pdp_type: return range("a word");
    case kind::quad: return range("a dotted quad");
    case kind::hex_mask: return range("up to 8 hexadecimal digits");
    case kind::ppp_user:
    case kind::ppp_password: return range("at most 31 bytes");
    }
    return {};
}

short_text spelling_of(const setting &one) {
    short_text text;
    const char *const key = one.key().data();
    if (one.indexes.last == 0)
        return to_text<short_text::size()>(key);
    if (one.indexes.bare_0)
        snprintf(text.data(), sizeof text.chars, "%s, %s_1 to _%d", key, key, one.indexes.last);
    else
        snprintf(text.data(), sizeof text.chars, "%s_0 to _%d", key, one.indexes.last);
    return text;
}

} // namespace settings

namespace {

using settings::setting;

constexpr std::string_view INDENT = "    ";
constexpr size_t COLUMNS = 79;

void print_wrapped(std::string_view text) {
    constexpr size_t WIDTH = COLUMNS - INDENT.size();
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        if (end > WIDTH)
            end = text.rfind(' ', WIDTH);
        output::put(INDENT);
        output::put(text.substr(0, end));
        output::put("\n");
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// False if there is none.
bool print_value_now(const setting &one, int idx) {
    text<COLUMNS> value;
    const settings::key_text key = settings::key_of(one, idx);
    if (cfg_get_item(key.c_str(), value.data(), value.size()) != 0 || value.empty())
        return false;
    char line[COLUMNS + 1];
    snprintf(line, sizeof line, "    now %s=%s", key.c_str(),
             one.is_secret() ? "(set)" : value.c_str());
    cli::make_printable(line);
    output::print("%s\n", line);
    return true;
}

void describe(const setting &one) {
    output::print("%s\n", settings::spelling_of(one).c_str());
    bool is_set = false;
    for (int idx = 0; idx <= one.indexes.last; idx++)
        is_set = print_value_now(one, idx) || is_set;
    if (!is_set)
        output::put("    now not set\n");
    text<256> takes;
    snprintf(takes.data(), sizeof takes.chars, "%s; default: %s%s%s",
             settings::range_of(one).c_str(), one.fallback().data(),
             one.otherwise().empty() ? "" : "; otherwise ", one.otherwise().data());
    print_wrapped(takes.c_str());
    print_wrapped(one.effect());
}

} // namespace

int describe_settings() {
    for (const setting &one : settings::all())
        describe(one);
    return output::flush();
}

int print_setting_names() {
    for (const setting &one : settings::all()) {
        output::print("%s\t", one.key().data());
        if (one.indexes.last > 0)
            output::print("%d-%d", one.indexes.bare_0 ? 1 : 0, one.indexes.last);
        output::print("\t%s\t%s\t%s\t%s\t", settings::range_of(one).c_str(),
                      settings::words_of(one).data(), one.fallback().data(),
                      one.otherwise().data());
        for (const char &c : one.effect())
            output::put(c == '\n' ? "\\n" : std::string_view{&c, 1});
        output::put("\n");
    }
    return output::flush();
}
