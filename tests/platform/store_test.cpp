// Items, flags and settings. The world is broken here by killing writers at any moment and by
// planting things that are no files; readers must see whole values and never wait.
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <regex>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "host_test.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/flag_store.h"
#include "platform/host/settings_file.h"

// What GET finds under KEY.
template <typename getter, typename key_type>
static std::string text_of(getter get, key_type key, int size = 64) {
    std::string buffer(static_cast<size_t>(size), '?');
    get(key, buffer.data(), size);
    return buffer.c_str();
}

TEST(Items, AreCutAtTheLengthTheNulAndTheBuffer) {
    const struct {
        std::string given;
        int length, size;
        const char *read;
    } CASES[] = {
        {{"0\0", 2}, 2, 2, "0"}, {"abcdef", 3, 20, "abc"},      {{"ab\0c", 4}, 4, 20, "ab"},
        {"abcdef", 6, 4, "abc"}, {"a b\n c", 6, 20, "a b\n c"}, {"abc", 3, 1, ""},
        {"", 1, 20, ""}};
    for (const auto &c : CASES) {
        EXPECT_EQ(set_devinfo_value_by_id(201101, c.given.c_str(), c.length), 0);
        EXPECT_EQ(text_of(get_devinfo_value_by_id, 201101, c.size), c.read) << c.given;
    }
    put_file(ITEMS + "7", "a\nb\n"); // by hand: the last newline is echo's
    EXPECT_EQ(text_of(get_devinfo_value_by_id, 7), "a\nb");
    EXPECT_EQ(text_of(get_devinfo_value_by_id, 7, 3), "a\n");
    for (const int id : {0, -1, INT_MIN})
        EXPECT_EQ(set_devinfo_value_by_id(id, "1", 1), -1) << id;
}

// The file that this thread fills before it renames it.
static std::string own_spare_file() {
    struct stat status = {};
    EXPECT_EQ(stat("/proc/self/ns/pid", &status), 0);
    return ".new-" + std::to_string(status.st_ino) + "-" + std::to_string(gettid());
}

// However many values are lost, the log says so once, and once when it is over.
TEST(Items, AFullDiskIsSaidOnceAndItsEnd) {
    ASSERT_EQ(mount("tmpfs", "/run", "tmpfs", 0, "nr_inodes=20"), 0);
    const auto filler = [](int i) { return "/run/" + std::to_string(i); };
    for (int round = 0; round < 2; round++) {
        std::filesystem::remove(LOG);
        EXPECT_EQ(set_devinfo_value_by_id(1, "old", 3), 0);
        int fillers = 0;
        while (mkdir(filler(fillers).c_str(), 0700) == 0)
            fillers++;
        for (int id = 1; id < 9; id++) {
            EXPECT_EQ(set_devinfo_value_by_id(id, "new", 3), -1) << id;
            EXPECT_EQ(set_devinfo_value_by_id(9, "", 1), 0); // needs no room, and ends nothing
        }
        EXPECT_EQ(text_of(get_devinfo_value_by_id, 1), "old");
        while (fillers > 0)
            rmdir(filler(--fillers).c_str());
        EXPECT_EQ(set_devinfo_value_by_id(1, "old", 3), 0);
        EXPECT_EQ(set_devinfo_value_by_id(1, "old", 3), 0);
        const std::regex SAID(
            "[^\n]* 0 cannot store /run/uplinkd/items/1: No space left on device\n"
            "[^\n]* 0 can store in /run/uplinkd/items again\n");
        EXPECT_TRUE(std::regex_match(file_text(LOG), SAID)) << file_text(LOG);
    }
}

// Every kind of thing that is no value reads as none, at once, and a write replaces what it can.
TEST(Items, PlantedThingsAreNeitherFollowedNorWaitedFor) {
    put_file("/etc/secret", "secret");
    for (const std::string plant :
         {"mkfifo ", "ln -s /etc/secret ", "ln -s /dev/zero ", "mkdir "}) {
        std::filesystem::create_directories(ITEMS);
        for (const std::string &name : {std::string("6"), own_spare_file()})
            ASSERT_EQ(system((plant + ITEMS + name).c_str()), 0);
        const int fifo = open((ITEMS + "6").c_str(), O_RDWR | O_NOFOLLOW);
        EXPECT_EQ(write(fifo, "bait", 4), fifo < 0 ? -1 : 4);
        EXPECT_EQ(text_of(get_devinfo_value_by_id, 6), "") << plant;
        EXPECT_EQ(set_devinfo_value_by_id(6, "new", 3), plant == "mkdir " ? -1 : 0) << plant;
        EXPECT_EQ(text_of(get_devinfo_value_by_id, 6), plant == "mkdir " ? "" : "new") << plant;
        std::filesystem::remove_all(ITEMS);
    }
    EXPECT_EQ(file_text("/etc/secret"), "secret");
}

// Without /proc nobody knows whose a thread's number is: another namespace may have the same.
TEST(Items, AreNotMixedWhereNamespacesCannotBeTold) {
    ASSERT_EQ(mount("tmpfs", "/proc", "tmpfs", 0, nullptr), 0);
    const std::string spare = ITEMS + ".new-0-" + std::to_string(gettid());
    const std::string of_unknown = ITEMS + ".new-0-4000000"; // no such thread here
    put_file(spare, "his");
    put_file(of_unknown, "his");
    EXPECT_TRUE(set_devinfo_value_by_id(6, "new", 3) == -1 && errno == EEXIST) << errno;
    EXPECT_EQ(file_text(spare), "his");
    std::filesystem::remove(spare);
    EXPECT_EQ(set_devinfo_value_by_id(6, "new", 3), 0);
    EXPECT_EQ(file_text(of_unknown), "his");
    umount2("/proc", MNT_DETACH); // a sanitizer looks there at the end
}

TEST(Flags, StayInTheirFolderWhichIsTheGroups) {
    umask(0777);
    for (const char *value : {"0", "1"}) {
        EXPECT_EQ(flag_set("downlinkd_init_completed", value), 0);
        EXPECT_EQ(
            std::filesystem::status("/run/uplinkd/flags/downlinkd_init_completed").permissions(),
            std::filesystem::perms(0640));
    }
    umask(0);
    EXPECT_EQ(text_of(flag_get_item, "downlinkd_init_completed", 2), "1");
    put_file(ITEMS + "1", "1");
    for (const char *name : {"", ".", "..", "../items/1", "/etc/x", "a/b", ".new-1-1"})
        EXPECT_TRUE(flag_set(name, "1") == -1 && text_of(flag_get_item, name).empty()) << name;
    for (const char *folder : {"/run/uplinkd", "/run/uplinkd/flags"})
        EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms(0750));
}

// Values of one letter each, whose length goes with the letter: a mix of two writes shows.
static std::string whole_value(int number) {
    const int letter = number % 26;
    return std::string(static_cast<size_t>(3000 + 211 * letter), static_cast<char>('a' + letter));
}

// Three processes write without end, and are killed and replaced; this one reads. A writer that is
// killed may leave one file.
template <typename writer, typename reader>
static void kill_writers(const std::string &folder, writer write, reader read) {
    pid_t writers[3] = {};
    ASSERT_TRUE(write(0));
    for (int round = 0; round < 103; round++) {
        pid_t &pid = writers[round % 3];
        if (pid > 0 && kill(pid, SIGKILL) == 0)
            waitpid(pid, nullptr, 0);
        if (round < 100 && (pid = fork()) == 0)
            for (int number = round;; number++)
                write(number);
        for (auto reads = random() % 40; reads > 0; reads--) {
            const std::string value = read();
            EXPECT_FALSE(value.empty() || value != whole_value(value[0] - 'a')) << value.size();
        }
    }
    ASSERT_TRUE(write(1));
    EXPECT_EQ(read(), whole_value(1));
    EXPECT_LE(std::distance(std::filesystem::directory_iterator(folder), {}), 1 + 4) << "litter";
}

TEST(Items, StayWholeWhoeverIsKilled) {
    const auto write = [](int number) {
        return set_devinfo_value_by_id(9, whole_value(number).c_str(), 10000) == 0;
    };
    kill_writers(ITEMS, write, [] { return text_of(get_devinfo_value_by_id, 9, 10000); });
}

TEST(Settings, StayWholeWhoeverIsKilled) {
    put_file(SETTINGS, "# mine\nOTHER=1\n");
    const auto write = [](int number) {
        return host::set_setting("K", whole_value(number)) == host::settings_result::done;
    };
    kill_writers("/etc/uplinkd", write, [] { return text_of(cfg_get_item, "K", 10000); });
    EXPECT_EQ(file_text(SETTINGS), "# mine\nOTHER=1\nK=" + whole_value(1) + "\n");
}

TEST(Settings, AreReadAsTheyStandInTheFile) {
    const std::string TEXT =
        "# K=comment\nKK=no\nnonsense\n K=no\nK=first\nE=\nK= a=b \nXK=no\nN=12x\n"
        "O=99999999999\nP=- 3\nQ=\t+99x-1\nR= \f\v-007\rM\nM=-7";
    const struct {
        const char *key, *value;
        int size, number;
    } CASES[] = {{"K", " a=b ", 64, 0}, {"K", " a", 3, 0},   {"E", "", 64, 0},
                 {"N", "12x", 64, 12},  {"M", "-7", 64, -7}, {"O", "9", 2, INT_MAX},
                 {"P", "- 3", 64, 0},   {"Q", "\t", 2, 99},  {"R", " ", 2, -7},
                 {"K=", "", 64, 0},     {"", "", 64, 0},     {"none", "", 64, 0}};
    // Comments of all these lengths bring every byte of the text to the end of a read at some time.
    for (size_t padding = 16384 - 150; padding <= 16384; padding++) {
        put_file(SETTINGS, "#" + std::string(padding, '-') + "\n" + TEXT);
        for (const auto &c : CASES) {
            ASSERT_EQ(text_of(cfg_get_item, c.key, c.size), c.value)
                << c.key << " after " << padding;
            ASSERT_EQ(get_CFG_int(c.key), c.number) << c.key;
        }
    }
}

TEST(Settings, AChangeTouchesOneLineOnly) {
    const struct {
        std::string before;
        const char *key, *value; // no value: unset
        std::string after;
    } CASES[] = {
        {"# c\nA=1", "K", "", "# c\nA=1\nK=\n"},
        {"K=1\n#K=2\n\njunk\nK=3\nA= \n", "K", "4", "K=1\n#K=2\n\njunk\nK=4\nA= \n"},
        {"A=1\nK=1", "K", "a=b", "A=1\nK=a=b\n"},
        {"K=1\n#K=2\njunk\nK=3\nA=1", "K", nullptr, "#K=2\njunk\nA=1"},
        {"A=1\n", "K=", "1", "A=1\n"},
        {"A=1\n", "#K", "1", "A=1\n"},
    };
    std::filesystem::create_directories("/etc/uplinkd");
    std::filesystem::create_symlink("/etc/elsewhere", SETTINGS);
    for (const auto &c : CASES) {
        put_file("/etc/elsewhere", c.before);
        chmod("/etc/elsewhere", 0604);
        c.value != nullptr ? host::set_setting(c.key, c.value) : host::unset_setting(c.key);
        EXPECT_EQ(file_text("/etc/elsewhere"), c.after);
        EXPECT_EQ(std::filesystem::status(SETTINGS).permissions(), std::filesystem::perms(0604));
    }
}
