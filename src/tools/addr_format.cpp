// addr_format: prints an IPv6 address in its one canonical form (RFC 5952).
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <string_view>

#include "tools/cli.h"

static constexpr char HELP[] = R"(Usage: addr_format -6 -s FORM -d compact -a ADDR
Prints the IPv6 address ADDR in the canonical compact form.
FORM is the form of ADDR:
  perfer         the usual text form, any spelling of it
  no_separator   32 hexadecimal digits, as in /proc/net/ipv6_route
)";

static constexpr char EXPECTED[] = "expected -6 -s FORM -d compact -a ADDR";

static constexpr int GROUPS = 8;
using address = std::array<uint16_t, GROUPS>;

static bool parse_text(const char *text, address &parsed) {
    in6_addr bytes{};
    if (inet_pton(AF_INET6, text, &bytes) != 1)
        return false;
    for (size_t i = 0; i < parsed.size(); i++)
        parsed[i] = static_cast<uint16_t>(bytes.s6_addr[2 * i] << 8 | bytes.s6_addr[2 * i + 1]);
    return true;
}

static bool parse_digits(const char *text, address &parsed) {
    constexpr char HEX_DIGITS[] = "0123456789abcdefABCDEF";
    if (strlen(text) != 32 || strspn(text, HEX_DIGITS) != 32)
        return false;
    char separated[40];
    snprintf(separated, sizeof separated, "%.4s:%.4s:%.4s:%.4s:%.4s:%.4s:%.4s:%.4s", text, text + 4,
             text + 8, text + 12, text + 16, text + 20, text + 24, text + 28);
    return parse_text(separated, parsed);
}

using parser = bool (*)(const char *text, address &parsed);

static parser parser_of(std::string_view form) {
    if (form == "perfer")
        return parse_text;
    return form == "no_separator" ? parse_digits : nullptr;
}

struct run {
    int first = GROUPS;
    int length = 1;
};

// The longest run of zero groups, the first of them where two are equally long. A single zero group
// is none.
static run longest_zero_run(const address &groups) {
    run longest;
    for (int first = 0; first < GROUPS; first++) {
        int end = first;
        while (end < GROUPS && groups[static_cast<size_t>(end)] == 0)
            end++;
        if (end - first > longest.length)
            longest = {first, end - first};
    }
    return longest;
}

// ::ffff:0:0/96 holds IPv4 addresses, which keep their own form.
static bool is_mapped_ipv4(const address &groups) {
    return std::all_of(groups.begin(), groups.begin() + 5, [](int group) { return group == 0; }) &&
           groups[5] == 0xffff;
}

using line = std::array<char, 48>;

static line mapped_ipv4_line(const address &groups) {
    line text{};
    snprintf(text.data(), text.size(), "::ffff:%d.%d.%d.%d\n", groups[6] >> 8, groups[6] & 0xff,
             groups[7] >> 8, groups[7] & 0xff);
    return text;
}

static line plain_line(const address &groups) {
    const run zeros = longest_zero_run(groups);
    line text{};
    char *end = text.data();
    for (int i = 0; i < GROUPS; i++) {
        if (i == zeros.first) {
            *end++ = ':';
            i += zeros.length - 1;
            if (i == GROUPS - 1)
                *end++ = ':';
            continue;
        }
        if (i > 0)
            *end++ = ':';
        end = std::to_chars(end, text.end(), groups[static_cast<size_t>(i)], 16).ptr;
    }
    *end = '\n';
    return text;
}

int main(int argc, char **argv) {
    if (argc == 2 && cli::is_help(argv[1]))
        return cli::print_help(HELP);
    if (argc == 2 && cli::is_version(argv[1]))
        return cli::print_version();

    parser parse = nullptr;
    const char *text = nullptr;
    bool is_ipv6 = false, is_compact = false;
    opterr = 0;
    for (int option; (option = getopt(argc, argv, "6s:d:a:")) != -1;) {
        switch (option) {
        case '6': is_ipv6 = true; break;
        case 's':
            parse = parser_of(optarg);
            if (parse == nullptr)
                return cli::wrong_usage("'%s' is no form of an address", optarg);
            break;
        case 'd':
            is_compact = strcmp(optarg, "compact") == 0;
            if (!is_compact)
                return cli::wrong_usage("'%s' is no form to print; 'compact' is", optarg);
            break;
        case 'a': text = optarg; break;
        default: return cli::wrong_usage(EXPECTED);
        }
    }
    if (!is_ipv6 || parse == nullptr || !is_compact || text == nullptr || optind != argc)
        return cli::wrong_usage(EXPECTED);

    address groups{};
    if (!parse(text, groups))
        return cli::failure("'%s' is no IPv6 address", text);
    return cli::print((is_mapped_ipv4(groups) ? mapped_ipv4_line : plain_line)(groups).data());
}
