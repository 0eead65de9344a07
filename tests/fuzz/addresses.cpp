// addr_format against the C library's own conversions, and the relation of two networks against a
// model that knows for each of the 32 bits which values an address of the network may have there.
#include <arpa/inet.h>
#include <cstring>

#include "fuzz.h"
#include "platform/network.h"
#include "tools/cli.h"

// The tool with its output caught.
int addr_format_main(int argc, char **argv);
static std::string output;

namespace cli {
int print(std::string_view text) {
    output = text;
    return 0;
}
int failure(const char *, ...) {
    return 1;
}
int wrong_usage(const char *, ...) {
    return 2;
}
bool is_help(const char *) {
    return false;
}
bool is_version(const char *) {
    return false;
}
int print_help(const char *) {
    return 2;
}
int print_version() {
    return 2;
}
} // namespace cli

// RFC 5952's form is inet_ntop's, but that writes the addresses that begin with 96 zeros as IPv4's.
static std::string canonical(const in6_addr &address) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &address, text, sizeof text);
    const auto group = [&](int i) { return address.s6_addr[i] << 8 | address.s6_addr[i + 1]; };
    if (strchr(text, '.') != nullptr && group(10) == 0)
        snprintf(text, sizeof text, "::%x:%x", group(12), group(14));
    return std::string(text) + "\n";
}

static void format(std::string text, bool digits) {
    in6_addr address{};
    const bool valid = digits ? text.size() == 32 && std::all_of(text.begin(), text.end(), isxdigit)
                              : inet_pton(AF_INET6, text.c_str(), &address) == 1;
    for (size_t i = 0; digits && valid && i < 16; i++)
        address.s6_addr[i] = static_cast<uint8_t>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    std::string words[] = {"addr_format", "-6",      "-s", digits ? "no_separator" : "perfer",
                           "-d",          "compact", "-a", text};
    char *arguments[9] = {};
    std::transform(std::begin(words), std::end(words), arguments, [](auto &w) { return w.data(); });
    optind = 0;
    output.clear();
    DEMAND(addr_format_main(8, arguments) == !valid, text, output);
    DEMAND(output == (valid ? canonical(address) : ""), text, output);
}

// Four numbers up to 255, without leading zeros.
static bool parse(const std::string &text, uint32_t &word) {
    size_t at = 0;
    for (int i = 0; i < 4; i++) {
        const size_t start = at;
        uint32_t number = 0;
        for (; isdigit(text[at]) && number < 256; at++)
            number = number * 10 + static_cast<uint32_t>(text[at] - '0');
        if (at == start || number > 255 || (text[start] == '0' && at > start + 1))
            return false;
        word = word << 8 | number;
        if (text[at++] != (i < 3 ? '.' : '\0'))
            return false;
    }
    return true;
}

static int relation(const std::string (&texts)[4]) {
    uint32_t words[4] = {};
    if (std::count(std::begin(texts), std::end(texts), "") > 0)
        return 3;
    for (size_t i = 0; i < 4; i++)
        if (!parse(texts[i], words[i]))
            return -1;
    bool a_in_b = true, b_in_a = true;
    for (int bit = 0; bit < 32; bit++) {
        const auto values = [&](const uint32_t *network) { // a set: 1 for a zero, 2 for a one
            return (network[1] >> bit & 1) == 0 ? 3 : (network[0] >> bit & 1) == 0 ? 1 : 2;
        };
        const int a = values(words), b = values(words + 2);
        if ((a & b) == 0)
            return 3;
        a_in_b &= (a | b) == b;
        b_in_a &= (a | b) == a;
    }
    return a_in_b && b_in_a ? 0 : b_in_a ? 1 : a_in_b ? 2 : 4;
}

static std::string take_word(FuzzedDataProvider &input) {
    if (input.ConsumeBool())
        return take_text(input, 20);
    const uint32_t mask = ~0u << take_number(input, 0, 31);
    const uint32_t word =
        input.ConsumeBool() ? mask : 0x0a000000 ^ input.ConsumeIntegral<uint32_t>();
    char text[16];
    snprintf(text, sizeof text, "%u.%u.%u.%u", word >> 24, word >> 16 & 255, word >> 8 & 255,
             word & 255);
    return text;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string text = take_text(input, 64), bytes = input.ConsumeBytesAsString(16);
    format(text, false);
    format(text, true);
    char digits[33], groups[40];
    for (size_t i = 0; i < 16; i++) { // zeros where the input has ended, so that there are runs
        const int byte = i < bytes.size() ? bytes[i] & 0xff : 0;
        snprintf(digits + 2 * i, 3, "%02X", static_cast<unsigned>(byte));
    }
    for (size_t i = 0; i < 8; i++)
        snprintf(groups + 5 * i, 6, i < 7 ? "%.4s:" : "%.4s", digits + 4 * i);
    format(digits, true);
    format(groups, false);

    const std::string of[4] = {take_word(input), take_word(input), take_word(input),
                               take_word(input)};
    DEMAND(util_get_2_network_segment_relations4(of[0].c_str(), of[1].c_str(), of[2].c_str(),
                                                 of[3].c_str()) == relation(of),
           of[0], of[1], of[2], of[3]);
    return 0;
}
