// addr_format against the C library's own conversions, and the relation of two networks against a
// model that knows for each of the 32 bits which values an address of the network may have there.
#include <arpa/inet.h>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz.h"
#include "platform/network.h"

int addr_format_main(int argc, char **argv);

// Standard output or error of the tool, which goes into memory meanwhile.
class caught {
public:
    explicit caught(int fd) : stream(fd), real(dup(fd)) { dup2(file, fd); }
    ~caught() {
        dup2(real, stream);
        close(real);
        close(file);
    }
    std::string text() const {
        char bytes[4096];
        const ssize_t length = pread(file, bytes, sizeof bytes, 0);
        return {bytes, static_cast<size_t>(length)};
    }

private:
    const int stream, real, file = memfd_create("caught", MFD_CLOEXEC);
};

// RFC 5952's form is inet_ntop's, but that writes the addresses that begin with 96 zeros as IPv4's.
static std::string canonical(const in6_addr &address) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &address, text, sizeof text);
    const auto group = [&](int i) { return address.s6_addr[i] << 8 | address.s6_addr[i + 1]; };
    if (strchr(text, '.') != nullptr && group(10) == 0)
        snprintf(text, sizeof text, "::%x:%x", group(12), group(14));
    return text;
}

static bool parse_digits(const std::string &text, in6_addr &address) {
    if (text.size() != 32 || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos)
        return false;
    for (size_t i = 0; i < 16; i++)
        address.s6_addr[i] = static_cast<uint8_t>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    return true;
}

static void format(std::string text, bool digits) {
    in6_addr address{};
    const bool valid =
        digits ? parse_digits(text, address) : inet_pton(AF_INET6, text.c_str(), &address) == 1;
    std::string words[] = {"addr_format", "-6",      "-s", digits ? "no_separator" : "perfer",
                           "-d",          "compact", "-a", text};
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    optind = 0;
    std::string output, error;
    int status = 0;
    {
        const caught out(STDOUT_FILENO), err(STDERR_FILENO);
        status = addr_format_main(8, arguments.data());
        output = out.text(), error = err.text();
    }
    DEMAND(status == !valid, text, output);
    DEMAND(output == (valid ? canonical(address) + "\n" : ""), text, output);
    DEMAND(error.empty() == valid, text, error);
}

// Four numbers up to 255, without leading zeros.
static bool parse(const std::string &text, uint32_t &word) {
    size_t at = 0;
    word = 0;
    for (int i = 0; i < 4; i++) {
        size_t end = at;
        uint32_t number = 0;
        for (; end < text.size() && text[end] >= '0' && text[end] <= '9' && number < 256; end++)
            number = number * 10 + static_cast<uint32_t>(text[end] - '0');
        if (end == at || number > 255 || (text[at] == '0' && end > at + 1))
            return false;
        if (i < 3 ? text[end] != '.' : end != text.size())
            return false;
        word = word << 8 | number;
        at = end + 1;
    }
    return true;
}

static int model(const std::string (&texts)[4]) {
    uint32_t words[4];
    for (const std::string &text : texts)
        if (text.empty())
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

static std::string dotted(uint32_t word) {
    const in_addr address{htonl(word)};
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
}

static std::string take_word(FuzzedDataProvider &input) {
    if (input.ConsumeBool())
        return take_text(input, 20);
    const uint32_t word = input.ConsumeBool() ? 0x0a000000 : 0xffffff00;
    const int shift = input.ConsumeIntegralInRange(0, 31);
    return dotted(input.ConsumeBool() ? ~0u << shift : word ^ input.ConsumeIntegral<uint32_t>());
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string text = take_text(input, 64);
    format(text, false);
    format(text, true);
    std::string bytes = input.ConsumeBytesAsString(16),
                digits; // mostly zeros, so that there are runs
    in6_addr address{};
    bytes.copy(reinterpret_cast<char *>(&address), 16);
    char spelled[INET6_ADDRSTRLEN];
    format(inet_ntop(AF_INET6, &address, spelled, sizeof spelled), false);
    for (const uint8_t byte : address.s6_addr)
        snprintf(spelled, sizeof spelled, "%02X", byte), digits += spelled;
    format(digits, true);

    const std::string networks[4] = {take_word(input), take_word(input), take_word(input),
                                     take_word(input)};
    DEMAND(util_get_2_network_segment_relations4(networks[0].c_str(), networks[1].c_str(),
                                                 networks[2].c_str(),
                                                 networks[3].c_str()) == model(networks),
           networks[0], networks[1], networks[2], networks[3]);
    return 0;
}
