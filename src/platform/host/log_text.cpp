#include "platform/host/log_text.h"

#include <cstring>

namespace host {

std::string_view make_visible(std::span<char> out, std::string_view text) {
    constexpr char DIGITS[] = "0123456789abcdef";
    size_t length = 0;
    for (const char character : text) {
        char visible[4] = {character};
        size_t size = 1;
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7f) {
            visible[0] = '\\';
            size = 2;
            switch (character) {
            case '\n': visible[1] = 'n'; break;
            case '\r': visible[1] = 'r'; break;
            case '\t': visible[1] = 't'; break;
            default:
                visible[1] = 'x';
                visible[2] = DIGITS[byte >> 4];
                visible[3] = DIGITS[byte & 15];
                size = 4;
            }
        }
        if (length + size > out.size())
            break;
        memcpy(&out[length], visible, size);
        length += size;
    }
    return {out.data(), length};
}

} // namespace host
