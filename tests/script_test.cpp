#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/script_runner.h"
#include "batch/shell_quote.h"
#include "expect.h"

namespace fs = std::filesystem;
static constexpr const char *FILE_PATH = "/tmp/file";

TEST(script_runner, writes_whole_lines_or_nothing) {
    const std::string longest(MAX_LINE_SIZE - 1, 'x');
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%s", longest.c_str()), 0);
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%sx", longest.c_str()), -1);
    EXPECT_EQ(uplinkd_file_append_line(nullptr, "x"), -1);
    EXPECT_EQ(uplinkd_script_execute(FILE_PATH, nullptr), -1);
    EXPECT_CALLS(4, "");
    EXPECT_TRUE(file_text(FILE_PATH) == longest + "\n");
    EXPECT_EQ(write_script(FILE_PATH, "%s", "new"), 0);
    EXPECT_EQ(file_text(FILE_PATH), "new\n");
    EXPECT_EQ(write_script(FILE_PATH, "%sx", longest.c_str()), -1);
    EXPECT_EQ(file_text(FILE_PATH), "");
}

// There is room for one page: no line is cut, and a script takes the place of the one before it.
TEST(script_runner, makes_do_with_what_a_full_disk_has) {
    ASSERT_EQ(mount("tmpfs", "/tmp", "tmpfs", 0, "size=4k"), 0);
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%s", std::string(4000, 'x').c_str()), 0);
    uplinkd_file_append_line(FILE_PATH, "rm -r /tmp/%s", std::string(90, 'y').c_str());
    EXPECT_EQ(file_text(FILE_PATH), std::string(4000, 'x') + "\n");
    EXPECT_EQ(write_script(FILE_PATH, "new"), 0);
    EXPECT_EQ(file_text(FILE_PATH), "new\n");
    umount2("/tmp", MNT_DETACH);
}

// What another user can put in the way: nothing of his is written, and nobody waits for him.
TEST(script_runner, goes_past_what_lies_in_its_way) {
    const struct {
        const char *name;
        void (*put)();
    } obstacles[] = {
        {"symbolic link", [] { fs::create_symlink("/tmp/his", FILE_PATH); }},
        {"dangling link", [] { fs::create_symlink("/tmp/new", FILE_PATH); }},
        {"hard link", [] { fs::create_hard_link("/tmp/his", FILE_PATH); }},
        {"pipe", [] { mkfifo(FILE_PATH, 0666); }},
        {"folder", [] { fs::create_directory(FILE_PATH); }},
        {"full folder", [] { fs::create_directories(std::string(FILE_PATH) + "/his"); }},
    };
    write_file("/tmp/his", "his\n");
    chmod("/tmp/his", 0755);
    for (const auto &obstacle : obstacles)
        for (const bool append : {false, true}) {
            SCOPED_TRACE(obstacle.name);
            obstacle.put();
            alarm(10);
            const int result = append ? uplinkd_file_append_line(FILE_PATH, "mine")
                                      : uplinkd_file_truncate(FILE_PATH);
            alarm(0);
            EXPECT_EQ(file_text("/tmp/his"), "his\n");
            EXPECT_FALSE(fs::exists("/tmp/new"));
            EXPECT_EQ(result, append ? -1 : 0);
            if (!append) {
                EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(FILE_PATH)));
                EXPECT_EQ(fs::status(FILE_PATH).permissions(), fs::perms{0644});
                EXPECT_EQ(file_text(FILE_PATH), "");
            }
            fs::remove_all(FILE_PATH);
        }
}

// A pppd that dies while the next batch is built still has to run its down scripts; who kept the
// old file open since it was writable for all is to have no part in the new one.
TEST(script_runner, keeps_a_script_executable_and_to_itself) {
    uplinkd_file_append_line(FILE_PATH, "old");
    chmod(FILE_PATH, 0777);
    std::ofstream kept_open(FILE_PATH, std::ios::app);
    EXPECT_EQ(uplinkd_file_truncate(FILE_PATH), 0);
    EXPECT_EQ(fs::status(FILE_PATH).permissions(), fs::perms{0755});
    kept_open << "his" << std::flush;
    EXPECT_EQ(file_text(FILE_PATH), "");
}

// Each look at the secrets would wear the flash otherwise.
TEST(script_runner, leaves_secrets_alone_that_are_empty_already) {
    constexpr const char *SECRETS = "/etc/ppp/pap-secrets";
    const timespec long_ago[2] = {{1, 0}, {1, 0}};
    struct stat status = {};
    for (const int mode : {0600, 0644}) {
        write_file(SECRETS, "");
        chmod(SECRETS, static_cast<mode_t>(mode));
        utimensat(AT_FDCWD, SECRETS, long_ago, 0);
        ASSERT_EQ(stat(SECRETS, &status), 0);
        const timespec changed = status.st_ctim;
        usleep(20000); // a tick of the kernel's clock for files
        EXPECT_EQ(uplinkd_file_truncate(SECRETS), 0);
        stat(SECRETS, &status);
        EXPECT_EQ(status.st_mtim.tv_sec, 1);
        EXPECT_EQ(status.st_ctim.tv_nsec == changed.tv_nsec, mode == 0600);
        EXPECT_EQ(status.st_mode & 07777, 0600u);
    }
    EXPECT_EQ(uplinkd_file_append_line(SECRETS, "user * secret"), 0);
    EXPECT_EQ(uplinkd_file_truncate(SECRETS), 0);
    EXPECT_EQ(file_text(SECRETS), "");
}

TEST(script_runner, follows_a_link_that_root_has_put_into_its_folder) {
    fs::create_symlink("/tmp/ram_disk", "/etc/ppp/chap-secrets");
    write_file("/tmp/ram_disk", "old\n");
    EXPECT_EQ(uplinkd_file_truncate("/etc/ppp/chap-secrets"), 0);
    EXPECT_EQ(uplinkd_file_append_line("/etc/ppp/chap-secrets", "new"), 0);
    EXPECT_EQ(file_text("/tmp/ram_disk"), "new\n");
    EXPECT_TRUE(fs::is_symlink("/etc/ppp/chap-secrets"));
    fs::create_hard_link("/tmp/ram_disk", "/tmp/somebody_elses_too");
    EXPECT_EQ(uplinkd_file_truncate("/etc/ppp/chap-secrets"), -1);
    EXPECT_EQ(file_text("/tmp/ram_disk"), "new\n");
    fs::resize_file("/tmp/ram_disk", 0);
    EXPECT_EQ(uplinkd_file_truncate("/etc/ppp/chap-secrets"), -1);
}

static std::string through_shell(const std::string &command) {
    FILE *shell = popen(command.c_str(), "r");
    std::string output;
    for (int c; (c = fgetc(shell)) != EOF;)
        output += static_cast<char>(c);
    pclose(shell);
    return output;
}

// All values in one command.
TEST(shell_quote, keeps_values_values) {
    std::vector<std::string> values = {"eth1.10", "~", std::string(31, '\''), "{a,b}", "é"};
    values.insert(values.end(), {"$(touch /tmp/run)", "`touch /tmp/run`", "'; touch /tmp/run; '"});
    for (char c = '\x7f'; c > 0; --c)
        values.push_back({c, 'b'});
    std::string words, words_in_double_quotes, expected;
    for (const std::string &value : values) {
        words += std::string(" ") + shell_word(value.c_str()).c_str();
        words_in_double_quotes +=
            std::string(" ") + shell_word_in_double_quotes(value.c_str()).c_str();
        expected += value + "|";
    }
    EXPECT_EQ(through_shell("printf '%s|'" + words), expected);
    EXPECT_EQ(through_shell("sh -c \"printf '%s|'" + words_in_double_quotes + "\""), expected);
    EXPECT_FALSE(fs::exists("/tmp/run"));

    const char *plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:@%+=,-";
    EXPECT_STREQ(shell_word(plain).c_str(), plain);
    EXPECT_STREQ(shell_word("").c_str(), "");
    const std::string quotes(200, '\'');
    EXPECT_STREQ(shell_word(quotes.c_str()).c_str(), ""); // too long to be kept whole
}
