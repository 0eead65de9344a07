#include <algorithm>
#include <fcntl.h>
#include <regex>
#include <set>
#include <sstream>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>

#include "host_test.h"
#include "platform/log.h"

TEST(Log, AMessageIsOneLineWhateverItHolds) {
    ASSERT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0);
    const int logger = unix_socket(bind, "/dev/log"); // which never reads
    init_log_params("UPLINKD");
    const std::pair<std::string, std::string> MESSAGES[] = {
        {"ends with a newline\n", "ends with a newline"},
        {"forged\n2024-01-01 00:00:00.000 X[1] 0 x", "forged\\n2024-01-01 00:00:00.000 X[1] 0 x"},
        {"\t\r\x1b[2J\x7f\x01 %s caf\xc3\xa9", "\\t\\r\\x1b[2J\\x7f\\x01 %s caf\xc3\xa9"},
        {std::string(5000, 'x'), std::string(1017, 'x') + " [cut]"},
    };
    const std::string sender = "UPLINKD\\[" + std::to_string(getpid()) + "\\]";
    const std::regex FILED("[\\d-]{10} [\\d:]{8}\\.\\d{3} " + sender + " 0 (.*)");
    const std::regex SENT("<29>[A-Z][a-z]{2} [ \\d]\\d [\\d:]{8} " + sender + ": (.*)");
    for (const auto &[given, logged] : MESSAGES) {
        std::filesystem::remove(LOG);
        savelog(0, "%s", given.c_str());
        EXPECT_EQ(std::regex_replace(file_text(LOG), FILED, "$1"), logged + "\n");
        char sent[2000] = {};
        recv(logger, sent, sizeof sent - 1, 0);
        EXPECT_EQ(std::regex_replace(sent, SENT, "$1"), logged);
    }
    // A logger that reads no more does not hold it up, and its successor is found.
    for (int i = 0; i < 1000; i++)
        savelog(0, "x");
    close(logger), std::filesystem::remove("/dev/log");
    const int successor = unix_socket(bind, "/dev/log");
    savelog(0, "x");
    char sent[2000];
    EXPECT_GT(recv(successor, sent, sizeof sent, MSG_DONTWAIT), 0);
}

TEST(Log, TheLevelIsASetting) {
    const std::pair<const char *, int> SETTINGS_AND_LINES[] = {
        {"", 2},   {"0", 1},  {"-1", 2},    {"x2", 2},
        {"2x", 3}, {"4 ", 5}, {" +4\r", 5}, {"4294967299", 6}};
    for (const auto &[setting, lines] : SETTINGS_AND_LINES) {
        put_file(SETTINGS, std::string("SYS_LOG_LEVEL=") + setting);
        reset_libcommlog_level();
        std::filesystem::remove(LOG);
        for (int level = 0; level < 6; level++)
            savelog(level, "x");
        EXPECT_EQ(std::ranges::count(file_text(LOG), '\n'), lines) << setting;
    }
}

// What a full disk has no room for is missing, but no line is cut.
TEST(Log, ALineThatDoesNotFitIsLostWhole) {
    constexpr int ROOM = 64 * 1024;
    const std::string options = "size=" + std::to_string(ROOM);
    ASSERT_EQ(mount("tmpfs", "/var/log", "tmpfs", 0, options.c_str()), 0);
    const std::string long_text(600, 'x');
    for (int i = 0; i < ROOM / 300; i++)
        savelog(0, i % 2 == 0 ? "%s" : "short", long_text.c_str());
    const std::string lines = file_text(LOG);
    EXPECT_GT(lines.size(), ROOM - 4096);
    const std::regex WHOLE("[\\d-]{10} .* 0 (x{600}|short)");
    std::istringstream each(lines);
    for (std::string line; std::getline(each, line);)
        EXPECT_TRUE(std::regex_match(line, WHOLE)) << line;
    EXPECT_TRUE(lines.ends_with('\n'));
    ASSERT_EQ(mount("", "/var/log", "", MS_REMOUNT, "size=128k"), 0);
    savelog(0, "again");
    EXPECT_TRUE(
        std::regex_match(file_text(LOG).substr(lines.size()), std::regex("[^\\n]* 0 again\n")));
}

// The log stays open, and yet whatever happens at its path counts from the next line on.
TEST(Log, TheFileAtThePathIsTheLog) {
    put_file("/etc/bait", "");
    const struct {
        const char *happens, *lines; // the log afterwards
    } CASES[] = {
        {"true", "1"},
        {"rm $LOG", "1"},
        {"mv $LOG $LOG.moved", "1"},
        {": >$LOG", "1"},
        {"cp $LOG /tmp/copy; mv /tmp/copy $LOG", "2"},
        {"rm $LOG; ln -s /etc/bait $LOG", ""},
        {"rm $LOG; mkfifo $LOG", ""},
        {"rm $LOG; mkdir $LOG", ""},
        {"rmdir $LOG", "1"},
        {"rm -r /var/log/uplinkd", "1"},
        {"yes | head -c 1048570 >$LOG", "1"}, // rotated
        {"yes | head -c 1048570 >/tmp/full; mv /tmp/full $LOG", "1"},
    };
    setenv("LOG", LOG.c_str(), 1);
    for (const auto &c : CASES) {
        ASSERT_EQ(system(c.happens), 0);
        savelog(0, "x");
        EXPECT_EQ(std::filesystem::is_regular_file(std::filesystem::symlink_status(LOG))
                      ? std::to_string(std::ranges::count(file_text(LOG), '\n'))
                      : "",
                  c.lines)
            << c.happens;
    }
    EXPECT_EQ(file_text("/etc/bait"), "");
}

static void close_descriptors_from(int first) {
    for (int fd = first; fd < 64; fd++)
        close(fd);
}

// Nothing of the log may be taken for standard output, nor a child's line for the parent's.
TEST(Log, StartsWithoutStandardOutputAndGoesOnInAChild) {
    const int kept = fcntl(STDOUT_FILENO, F_DUPFD, 64);
    close(STDOUT_FILENO);
    savelog(0, "parent");
    const bool is_free = fcntl(STDOUT_FILENO, F_GETFD) < 0;
    dup2(kept, STDOUT_FILENO);
    EXPECT_TRUE(is_free);
    // Whoever closes all that he does not know gets no line into a file of his own.
    close_descriptors_from(3);
    const int file = open("/tmp/mine", O_CREAT | O_RDWR, 0600);
    const int socket = unix_socket(bind, "/tmp/my_socket");
    savelog(0, "parent");
    EXPECT_EQ(file_text("/tmp/mine"), "");
    EXPECT_EQ(std::ranges::count(file_text(LOG), '\n'), 2);
    EXPECT_TRUE(fcntl(file, F_GETFD) >= 0 && fcntl(socket, F_GETFD) >= 0);
    const pid_t child = fork();
    if (child == 0)
        savelog(0, "child"), _exit(0);
    waitpid(child, nullptr, 0);
    EXPECT_NE(file_text(LOG).find("[" + std::to_string(child) + "] 0 child\n"), std::string::npos);
}

// Threads and processes together fill the log beyond its size: nothing torn, nothing lost.
TEST(Log, RotationLosesNoLine) {
    const std::string TEXT(80, 'x');
    const auto write = [&TEXT](int writer) {
        for (int i = 0; i < 3000; i++)
            savelog(0, "%d-%d %s", writer, i, TEXT.c_str());
    };
    if (fork() == 0)
        write(0), _exit(0);
    std::thread first(write, 1), second(write, 2), third(write, 3);
    first.join(), second.join(), third.join();
    wait(nullptr);

    std::set<std::string> seen;
    for (const std::string &path : {LOG + ".1", LOG}) {
        EXPECT_LE(std::filesystem::file_size(path), 1100000u); // a few lines more than 1 MiB
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            ASSERT_TRUE(line.ends_with(TEXT)) << line;
            seen.insert(line.substr(line.find("] 0 ")));
        }
    }
    EXPECT_EQ(seen.size(), 4u * 3000u);
}

TEST(Log, TheLastFiveBackupsAreKept) {
    put_file(LOG + ".1", "old\n");
    put_file(LOG, "present\n");
    put_file("/var/log/uplinkd/backup/mine", "mine\n");
    std::string kept;
    for (int i = 1; i <= 12; i++) {
        EXPECT_EQ(log_bakup_imediately(("reason\n" + std::to_string(i)).c_str()), 0);
        if (i > 7)
            kept += "reason\\n" + std::to_string(i) + "\nold\npresent\n";
    }
    EXPECT_EQ(system("sed 's/^log.*: //' /var/log/uplinkd/backup/* > /tmp/backups"), 0);
    EXPECT_EQ(file_text("/tmp/backups"), kept + "mine\n");
}
