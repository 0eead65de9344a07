#include <regex>
#include <set>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "host_test.h"
#include "platform/log.h"

TEST(Log, AMessageIsOneLineWhateverItHolds) {
    init_log_params("UPLINKD");
    const struct {
        std::string given, logged;
    } CASES[] = {
        {"ends with a newline\n", "ends with a newline"},
        {"forged\n2024-01-01 00:00:00.000 X[1] 0 x", "forged\\n2024-01-01 00:00:00.000 X[1] 0 x"},
        {"\t\r\x1b[2J\x7f\x01 %s caf\xc3\xa9", "\\t\\r\\x1b[2J\\x7f\\x01 %s caf\xc3\xa9"},
        {std::string(5000, 'x'), std::string(1017, 'x') + " [cut]"},
    };
    const std::regex LINE("[\\d-]{10} [\\d:]{8}\\.\\d{3} UPLINKD\\[" + std::to_string(getpid()) +
                          "\\] 0 (.*)");
    size_t lines = 0;
    for (const auto &c : CASES) {
        savelog(0, "%s", c.given.c_str());
        const auto log = file_lines(LOG);
        std::smatch parts;
        ASSERT_TRUE(log.size() == ++lines && std::regex_match(log.back(), parts, LINE)) << c.given;
        EXPECT_EQ(parts[1], c.logged);
    }
}

TEST(Log, TheLevelIsASetting) {
    const struct {
        const char *setting;
        int highest;
    } CASES[] = {{"", 1},   {"0", 0},  {"-1", 1},    {"x2", 1},
                 {"2x", 2}, {"4 ", 4}, {" +4\r", 4}, {"4294967299", 5}};
    for (const auto &c : CASES) {
        put_file(SETTINGS, std::string("SYS_LOG_LEVEL=") + c.setting);
        reset_libcommlog_level();
        std::filesystem::remove(LOG);
        for (int level = 0; level < 6; level++)
            savelog(level, "x");
        EXPECT_EQ(file_lines(LOG).size(), static_cast<size_t>(c.highest) + 1) << c.setting;
    }
}

// Threads and processes together fill the log beyond its size: nothing torn, nothing lost.
TEST(Log, RotationLosesNoLine) {
    const std::string TEXT(80, 'x');
    const auto write = [&TEXT](int writer) {
        for (int i = 0; i < 3000; i++)
            savelog(0, "%d-%d %s", writer, i, TEXT.c_str());
        return 0;
    };
    const pid_t child = start_child([&] { return write(0); });
    std::thread first(write, 1), second(write, 2), third(write, 3);
    first.join(), second.join(), third.join();
    ASSERT_EQ(wait_for_child(child), 0);

    std::set<std::string> seen;
    for (const std::string &path : {LOG + ".1", LOG}) {
        EXPECT_LE(std::filesystem::file_size(path), 1100000u); // a few lines more than 1 MiB
        for (const std::string &line : file_lines(path)) {
            ASSERT_TRUE(line.ends_with(TEXT)) << line;
            seen.insert(line.substr(line.find("] 0 ")));
        }
    }
    EXPECT_EQ(seen.size(), 4u * 3000u);
}

TEST(Log, TheLastFiveBackupsAreKept) {
    const std::string BACKUPS = "/var/log/uplinkd/backup";
    put_file(LOG + ".1", "old\n");
    put_file(LOG, "present\n");
    put_file(BACKUPS + "/mine.txt", "");
    for (int i = 1; i <= 12; i++)
        EXPECT_EQ(log_bakup_imediately(("reason\n" + std::to_string(i)).c_str()), 0);
    std::set<std::string> names; // in their order
    for (const auto &entry : std::filesystem::directory_iterator(BACKUPS))
        names.insert(entry.path());
    EXPECT_EQ(names.erase(BACKUPS + "/mine.txt"), 1u);
    ASSERT_EQ(names.size(), 5u);
    int number = 8;
    for (const std::string &name : names)
        EXPECT_TRUE(file_text(name).ends_with("reason: reason\\n" + std::to_string(number++) +
                                              "\nold\npresent\n"))
            << file_text(name);
}

TEST(Log, NeitherAPlantedFifoNorADeafLoggerHoldsItUp) {
    ASSERT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0);
    const int logger = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    ASSERT_EQ(bind(logger, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    init_log_params("UPLINKD");
    std::filesystem::create_directories("/var/log/uplinkd");
    ASSERT_EQ(mkfifo(LOG.c_str(), 0600), 0);
    for (int i = 0; i < 1000; i++)
        savelog(0, "to\nsyslog");
    char line[200] = {};
    EXPECT_GT(recv(logger, line, sizeof line - 1, MSG_DONTWAIT), 0);
    const std::regex LINE("<29>[A-Z][a-z]{2} [ \\d]\\d [\\d:]{8} UPLINKD\\[\\d+\\]: to\\\\nsyslog");
    EXPECT_TRUE(std::regex_match(line, LINE)) << line;
}
