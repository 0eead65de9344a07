#include "batch/shell_quote.h"

#include <cstring>
#include <string_view>

static constexpr std::string_view PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                          "0123456789_./:@%+=,-";

namespace {

// Collects pieces; one that does not fit leaves nothing, for a cut word would be another word.
struct collector {
    quoted_text result;
    size_t length = 0;
    bool overflow = false;

    void add(std::string_view piece) {
        if (overflow || length + piece.size() >= sizeof result.chars) {
            overflow = true;
            result = {};
            return;
        }
        memcpy(result.chars + length, piece.data(), piece.size());
        length += piece.size();
    }
};

} // namespace

static bool is_plain(std::string_view value) {
    return value.find_first_not_of(PLAIN) == std::string_view::npos;
}

static quoted_text as_it_is(std::string_view value) {
    collector word;
    word.add(value);
    return word.result;
}

// VALUE with a backslash before every character of SPECIAL, between two QUOTEs.
static quoted_text escape(std::string_view value, std::string_view special,
                          std::string_view quote) {
    collector word;
    word.add(quote);
    for (const char &c : value) {
        if (special.find(c) != std::string_view::npos)
            word.add("\\");
        word.add({&c, 1});
    }
    word.add(quote);
    return word.result;
}

quoted_text shell_word(const char *value) {
    if (is_plain(value))
        return as_it_is(value);
    collector word;
    word.add("'");
    for (const char &c : std::string_view(value))
        word.add(c == '\'' ? "'\\''" : std::string_view(&c, 1));
    word.add("'");
    return word.result;
}

quoted_text shell_word_in_double_quotes(const char *value) {
    return escape(shell_word(value).c_str(), "\\\"$`", "");
}

// What ends a bare word, begins a comment, quotes or escapes.
static constexpr std::string_view SPECIAL_IN_SECRETS = " \"'\\#";

quoted_text secrets_word(const char *value) {
    if (std::string_view(value).find_first_of(SPECIAL_IN_SECRETS) == std::string_view::npos)
        return as_it_is(value);
    return escape(value, "\\\"", "\"");
}

static bool is_control(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

const char *fault_of_ppp_user(const char *value) {
    for (const char c : std::string_view(value)) {
        if (is_control(c))
            return "a control character in it";
    }
    return nullptr;
}

const char *fault_of_ppp_password(const char *value) {
    // Quoted or not, pppd takes such a secret for the name of a file to read the secret from.
    if (std::string_view(value).starts_with("@/"))
        return "it begins with @/ as the name of a file does";
    return fault_of_ppp_user(value);
}
