// Quoted values, read by the shell and by a reader of PPP secrets files: both hand on exactly the
// bytes that there were, whatever they are.
#include "batch/shell_quote.h"
#include "provision/clients/client_files.h"
#include "provision/clients/ppp.h"
#include "shell.h"

using words = std::vector<std::string>;

// The words of one line. Only what pppd(8) says of words is understood: whitespace divides them, a
// double quote keeps it, a backslash keeps the next character, a hash begins a comment. A single
// quote, or a backslash before anything that is not special, means more to some pppd than the
// manual says, and counts as a fault.
static words words_of(const std::string &line) {
    words found;
    bool quoted = false, within = false;
    for (size_t i = 0; i < line.size(); i++) {
        const char c = line[i];
        if (!quoted && (c == ' ' || (c >= '\t' && c <= '\r'))) {
            within = false;
            continue;
        }
        DEMAND(quoted || (c != '\'' && c != '#'), line);
        if (!within)
            found.emplace_back();
        within = true;
        if (c == '\\')
            DEMAND(line[i + 1] == '"' || line[i + 1] == '\\', line);
        if (c == '"')
            quoted = !quoted;
        else
            found.back() += c == '\\' ? line[++i] : c;
    }
    DEMAND(!quoted, line);
    return found;
}

static bool can_be_secret(const std::string &text) {
    return !text.empty() && std::none_of(text.begin(), text.end(),
                                         [](char c) { return (c >= 0 && c < 32) || c == 127; });
}

static void write_secrets(const std::string &user, const std::string &password) {
    ppp_cfg_set cfg{};
    cfg.ppp_user = to_text<PPP_ACCOUNT_SIZE>(user.c_str());
    cfg.ppp_pwd = to_text<PPP_ACCOUNT_SIZE>(password.c_str());
    const words expected = {cfg.ppp_user.c_str(), "*", cfg.ppp_pwd.c_str()};
    const bool taken =
        can_be_secret(expected[0]) && can_be_secret(expected[2]) && !expected[2].starts_with("@/");
    uplinkd_ppp_clean_secrets();
    DEMAND(uplinkd_ppp_add_user_and_pwd_2_secret(&cfg) == (taken ? 0 : -1), user, password);
    const std::string file = file_text(CHAP_SECRETS);
    DEMAND(file == file_text(PAP_SECRETS) && file.empty() == !taken, file);
    if (taken)
        DEMAND(words_of(file) == expected && file.find('\n') == file.size() - 1, file);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    std::string once = "printf '%s|' '<'", twice = once, expected = "<|", expected_twice = "<|";
    for (int i = 0; i < 24 && input.remaining_bytes() > 0; i++) {
        std::string value = take_text(input, 31);
        if (take_number(input, 0, 9) == 0) // as long as there is room, or a bit longer
            value.resize(static_cast<size_t>(QUOTED_SIZE - take_number(input, 0, 9)), 'x');
        const std::string word = shell_word(value.c_str()).c_str();
        const std::string word_twice = shell_word_in_double_quotes(value.c_str()).c_str();
        const auto quotes = static_cast<size_t>(std::count(value.begin(), value.end(), '\''));
        const bool fits = value.size() + 3 * quotes + 2 < QUOTED_SIZE;
        DEMAND(!word.empty() || value.empty() || !fits, value);
        DEMAND(!word_twice.empty() || value.empty() || value.size() > 31, value);
        write_secrets(value, take_text(input, 33));
        once += " " + word;
        expected += word.empty() ? "" : value + "|";
        twice += " " + word_twice;
        expected_twice += word_twice.empty() ? "" : value + "|";
    }
    for (const auto &[command, printed] :
         {std::pair(once, expected), {"/bin/busybox sh -c \"" + twice + "\"", expected_twice}}) {
        const std::string output =
            output_of(STDOUT_FILENO, {command.c_str()}, {"HOME=/tmp"}, "/tmp");
        DEMAND(output == printed, command, output, printed);
    }
    return 0;
}
