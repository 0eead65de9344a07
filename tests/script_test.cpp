#include <atomic>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "batch/generated_files.h"
#include "batch/script_runner.h"
#include "batch/shell_quote.h"
#include "expect.h"

namespace fs = std::filesystem;
static constexpr const char *FILE_PATH = "/tmp/file";

[[gnu::format(printf, 1, 2)]] static int write(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = write_script(FILE_PATH, format, args);
    va_end(args);
    return result;
}

TEST(script_runner, writes_whole_lines_or_nothing) {
    const std::string longest(MAX_LINE_SIZE - 1, 'x');
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%s", longest.c_str()), 0);
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%sx", longest.c_str()), -1);
    EXPECT_EQ(uplinkd_file_append_line(nullptr, "x"), -1);
    EXPECT_EQ(uplinkd_script_execute(FILE_PATH, nullptr), -1);
    EXPECT_CALLS(4, "");
    EXPECT_TRUE(file_text(FILE_PATH) == longest + "\n");
    EXPECT_EQ(write("%s", "new"), 0);
    EXPECT_EQ(file_text(FILE_PATH), "new\n");
    EXPECT_EQ(write("%sx", longest.c_str()), -1);
    EXPECT_EQ(file_text(FILE_PATH), "");
}

// There is room for one page: no line is cut, and a script takes the place of the one before it.
TEST(script_runner, makes_do_with_what_a_full_disk_has) {
    ASSERT_EQ(mount("tmpfs", "/tmp", "tmpfs", 0, "size=4k,nr_inodes=20"), 0);
    EXPECT_EQ(uplinkd_file_append_line(FILE_PATH, "%s", std::string(4000, 'x').c_str()), 0);
    uplinkd_file_append_line(FILE_PATH, "rm -r /tmp/%s", std::string(90, 'y').c_str());
    EXPECT_EQ(file_text(FILE_PATH), std::string(4000, 'x') + "\n");
    EXPECT_EQ(write("new"), 0);
    EXPECT_EQ(file_text(FILE_PATH), "new\n");
    // Without any room: not after the commands of another batch either.
    for (int i = 0; mkdir(("/tmp/" + std::to_string(i)).c_str(), 0700) == 0; i++)
        ;
    EXPECT_EQ(write("newer"), 0);
    EXPECT_EQ(file_text(FILE_PATH), "newer\n");
    umount2("/tmp", MNT_DETACH);
}

// What another user can put in the way, of a file or of the folder that they lie in: nothing of his
// is written or run, and nobody waits for him.
TEST(script_runner, goes_past_what_lies_in_its_way) {
    using put_at = void (*)(const fs::path &place);
    const struct {
        const char *what;
        put_at put;
    } obstacles[] = {
        {"symbolic link", [](const auto &place) { fs::create_symlink("/tmp/his", place); }},
        {"link to a folder", [](const auto &place) { fs::create_symlink("/tmp/room", place); }},
        {"dangling link", [](const auto &place) { fs::create_symlink("/tmp/new", place); }},
        {"hard link", [](const auto &place) { fs::create_hard_link("/tmp/his", place); }},
        {"pipe", [](const auto &place) { mkfifo(place.c_str(), 0666); }},
        {"folder", [](const auto &place) { fs::create_directory(place); }},
        {"full folder", [](const auto &place) { fs::create_directories(place / "his"); }},
    };
    put_file("/tmp/his", "his\n");
    chmod("/tmp/his", 0755);
    fs::create_directory("/tmp/room");
    for (const auto &[what, put] : obstacles)
        for (const char *place : {FILE_PATH, GENERATED_FOLDER})
            for (const bool append : {false, true}) {
                SCOPED_TRACE(std::string(what) + " at " + place);
                fs::remove_all(FILE_PATH);
                fs::remove_all(GENERATED_FOLDER);
                put(place);
                alarm(10);
                EXPECT_EQ(append ? uplinkd_file_append_line(FILE_PATH, "mine")
                                 : uplinkd_file_truncate(FILE_PATH),
                          0);
                alarm(0);
                EXPECT_EQ(file_text("/tmp/his"), "his\n");
                EXPECT_FALSE(fs::exists("/tmp/new"));
                EXPECT_TRUE(fs::is_empty("/tmp/room"));
                EXPECT_EQ(fs::read_symlink(FILE_PATH), ".uplinkd/file");
                EXPECT_EQ(fs::symlink_status(GENERATED_FOLDER).permissions(), fs::perms{0700});
                EXPECT_TRUE(fs::is_regular_file(FILE_PATH));
                EXPECT_EQ(fs::status(FILE_PATH).permissions(), fs::perms{0644});
                EXPECT_EQ(file_text(FILE_PATH), append ? "mine\n" : "");
            }
}

// Without an inode left, what others have planted does not take the place of what could not be
// made: it is removed or, where it cannot be, the batch is not run.
TEST(script_runner, runs_no_batch_whose_files_are_somebody_elses) {
    for (const bool can_be_removed : {true, false}) {
        ASSERT_EQ(mount("tmpfs", "/tmp", "tmpfs", 0, "nr_inodes=40"), 0);
        batch("before").run();
        if (can_be_removed)
            put_file(FILE_PATH, "his\n");
        else
            fs::create_directory(FILE_PATH);
        for (int i = 0; mkdir(("/tmp/" + std::to_string(i)).c_str(), 0700) == 0; i++)
            ;
        memory::take(4);
        batch commands("me");
        EXPECT_EQ(write("mine"), -1);
        EXPECT_FALSE(fs::is_regular_file(FILE_PATH));
        commands.run();
        EXPECT_EQ(memory::take(4).empty(), !can_be_removed);
        umount2("/tmp", MNT_DETACH);
    }
}

// The name of a pid file is freed by clients and scripts: whatever has been put there since goes
// when the daemon comes by, and a live client's number stays.
TEST(script_runner, takes_names_back) {
    constexpr const char *BYTES = GENERATED_FOLDER "/file";
    prepare_generated(FILE_PATH);
    EXPECT_FALSE(fs::exists(FILE_PATH));
    put_file(FILE_PATH, "7\n");
    EXPECT_EQ(file_text(BYTES), "7\n");
    reclaim_generated(FILE_PATH);
    EXPECT_EQ(file_text(FILE_PATH), "7\n");
    for (const auto take_back : {reclaim_generated, prepare_generated}) {
        put_file(BYTES, "7\n");
        fs::remove(FILE_PATH);
        put_file(FILE_PATH, "-9 -1\n");
        take_back(FILE_PATH);
        EXPECT_EQ(fs::read_symlink(FILE_PATH), ".uplinkd/file");
        EXPECT_FALSE(fs::exists(FILE_PATH));
    }
    for (const bool append : {false, true}) {
        put_file(BYTES, "rm -r *\n");
        chmod(BYTES, 0777);
        fs::remove(FILE_PATH);
        EXPECT_EQ(append ? uplinkd_file_append_line(FILE_PATH, "mine") : write("mine"), 0);
        EXPECT_EQ(file_text(FILE_PATH), "mine\n");
        EXPECT_EQ(fs::status(FILE_PATH).permissions(), fs::perms{0644});
    }
}

// Two daemons, of a restart that overlaps; every other time there is no folder yet.
TEST(script_runner, lets_one_process_at_a_time_build_a_batch) {
    auto *arrived = static_cast<std::atomic<int> *>(
        mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    auto meet = [arrived, meetings = 0]() mutable {
        meetings++;
        for (++*arrived; *arrived < 2 * meetings;)
            sched_yield();
    };
    const pid_t other = fork();
    const std::string line = other == 0 ? "other\n" : "one\n";
    bool is_mixed = false;
    for (int round = 0; round < 600; round++) {
        if (round % 2 == 0 && other != 0)
            fs::remove_all(GENERATED_FOLDER);
        meet();
        {
            const batch commands("me");
            for (int i = 0; i < 5; i++)
                uplinkd_file_append_line(TMP_SCRIPT, "%s", line.substr(0, line.size() - 1).c_str());
            is_mixed |=
                file_text(TMP_SCRIPT) != "# rewrite by me\n" + line + line + line + line + line;
        }
        meet();
    }
    if (other == 0)
        _exit(is_mixed);
    int status = -1;
    waitpid(other, &status, 0);
    EXPECT_FALSE(is_mixed || status != 0);
    munmap(arrived, 4096);
}

// A cleaner of /tmp comes by while a daemon waits for the other's batch.
TEST(script_runner, waits_for_the_folder_that_is_there_then) {
    pid_t waiting;
    {
        const batch commands("me");
        waiting = fork();
        if (waiting != 0) {
            usleep(50000);
            fs::remove_all(GENERATED_FOLDER);
            mkdir(GENERATED_FOLDER, 0700);
        }
    }
    if (waiting == 0) {
        const batch commands("other");
        _exit(file_text(TMP_SCRIPT) == "# rewrite by other\n" ? 0 : 1);
    }
    int status = -1;
    waitpid(waiting, &status, 0);
    EXPECT_EQ(status, 0);
}

// A pppd that dies while the next batch is built still has to run its down scripts; who kept the
// old file open since it was writable for all is to have no part in the new one.
TEST(script_runner, keeps_a_script_executable_and_to_itself) {
    uplinkd_file_append_line(FILE_PATH, "old");
    chmod(FILE_PATH, 0777);
    std::ofstream kept_open(FILE_PATH, std::ios::app);
    put_file(GENERATED_FOLDER "/.new", "of a daemon that was killed\n");
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
        put_file(SECRETS, "");
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
    put_file("/tmp/ram_disk", "old\n");
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
    EXPECT_EQ(printed_by("printf '%s|'" + words), expected);
    EXPECT_EQ(printed_by("sh -c \"printf '%s|'" + words_in_double_quotes + "\""), expected);
    EXPECT_FALSE(fs::exists("/tmp/run"));

    const char *plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:@%+=,-";
    EXPECT_STREQ(shell_word(plain).c_str(), plain);
    EXPECT_STREQ(shell_word("").c_str(), "");
    const std::string quotes(200, '\'');
    EXPECT_STREQ(shell_word(quotes.c_str()).c_str(), ""); // too long to be kept whole
}
