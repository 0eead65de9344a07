// Quoted values, read by the shell and by a reader of PPP secrets files: both hand on exactly the
// bytes that there were, whatever they are.
#include <algorithm>
#include <sys/wait.h>
#include <unistd.h>

#include "batch/shell_quote.h"
#include "fuzz.h"
#include "provision/clients/client_files.h"
#include "provision/clients/ppp.h"

static std::string through_shell(const std::string &command) {
    int ends[2];
    DEMAND(pipe(ends) == 0);
    const pid_t shell = vfork();
    if (shell == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execlp("busybox", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char bytes[4096];
    for (ssize_t length; (length = TEMP_FAILURE_RETRY(read(ends[0], bytes, sizeof bytes))) > 0;)
        output.append(bytes, static_cast<size_t>(length));
    close(ends[0]);
    TEMP_FAILURE_RETRY(waitpid(shell, nullptr, 0));
    return output;
}

// The words of one line. Only what pppd(8) says of words is understood: whitespace divides them, a
// double quote keeps it, a backslash keeps the next character, a hash begins a comment. A single
// quote, or a backslash before anything that is not special, means more to some pppd than the
// manual says, and counts as a fault.
static std::vector<std::string> words_of(const std::string &line) {
    std::vector<std::string> words;
    bool quoted = false, within = false;
    for (size_t i = 0; i < line.size(); i++) {
        const char c = line[i];
        if (!quoted && (c == ' ' || (c >= '\t' && c <= '\r'))) {
            within = false;
            continue;
        }
        if (!quoted && !within && c == '#')
            break;
        if (!within)
            words.emplace_back();
        within = true;
        if (c == '"') {
            quoted = !quoted;
        } else if (c == '\\') {
            DEMAND(i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\'), line);
            words.back() += line[++i];
        } else {
            DEMAND(quoted || (c != '\'' && c != '#'), line);
            words.back() += c;
        }
    }
    DEMAND(!quoted, line);
    return words;
}

static bool can_be_secret(const std::string &text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 32 && c != 127;
    });
}

static void write_secrets(const std::string &user, const std::string &password) {
    ppp_cfg_set cfg{};
    cfg.ppp_user = to_text<PPP_ACCOUNT_SIZE>(user.c_str());
    cfg.ppp_pwd = to_text<PPP_ACCOUNT_SIZE>(password.c_str());
    const std::string in_user = cfg.ppp_user.c_str(), in_password = cfg.ppp_pwd.c_str();
    const bool taken =
        can_be_secret(in_user) && can_be_secret(in_password) && !in_password.starts_with("@/");
    uplinkd_ppp_clean_secrets();
    DEMAND(uplinkd_ppp_add_user_and_pwd_2_secret(&cfg) == (taken ? 0 : -1), user, password);
    const std::string file = file_text(CHAP_SECRETS);
    DEMAND(file == file_text(PAP_SECRETS), file);
    if (!taken) {
        DEMAND(file.empty(), file);
        return;
    }
    DEMAND(file.ends_with('\n') && std::count(file.begin(), file.end(), '\n') == 1, file);
    const std::vector<std::string> expected = {in_user, "*", in_password};
    DEMAND(words_of(file) == expected, file, user, password);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    std::string once = "printf '%s|'", twice = once + " '<'", expected, expected_twice = "<|";
    for (int i = 0; i < 24 && input.remaining_bytes() > 0; i++) {
        const std::string value = take_text(input, input.ConsumeBool() ? 31 : 400);
        const std::string word = shell_word(value.c_str()).c_str();
        const std::string word_twice = shell_word_in_double_quotes(value.c_str()).c_str();
        const auto quotes = static_cast<size_t>(std::count(value.begin(), value.end(), '\''));
        if (!value.empty() && value.size() + 3 * quotes + 2 < QUOTED_SIZE)
            DEMAND(!word.empty(), value);
        if (!value.empty() && value.size() < 32)
            DEMAND(!word_twice.empty(), value);
        write_secrets(value, take_text(input, 33));
        if (!word.empty())
            once += " " + word, expected += value + "|";
        if (!word_twice.empty())
            twice += " " + word_twice, expected_twice += value + "|";
    }
    if (!expected.empty()) {
        const std::string output = through_shell(once);
        DEMAND(output == expected, once, output, expected);
    }
    const std::string quoted = "busybox sh -c \"" + twice + "\"", output = through_shell(quoted);
    DEMAND(output == expected_twice, quoted, output, expected_twice);
    return 0;
}
