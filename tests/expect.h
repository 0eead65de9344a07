// What the unit tests share: comparing whole sequences of calls, and a few files.
#pragma once

#include <gtest/gtest.h>
#include <regex>

#include "files.h"
#include "memory_platform.h"

using memory::given;

#define SCRIPT_FILE "/etc/ebscript/wan_mode_setting.sh"
#define BATCH_FILE  "/tmp/.tmp_uplinkd_script"

// Whether the router carries the external WAN mode script.
inline void external_script(bool present) {
    std::filesystem::remove(SCRIPT_FILE);
    if (present)
        put_file(SCRIPT_FILE, "");
}

inline std::string unindented(const std::string &text) {
    return std::regex_replace(text, std::regex("\n +"), "\n");
}

// Whether the calls since the last look, with the log lines up to LEVEL, are the lines of EXPECTED.
#define EXPECT_CALLS(level, expected) EXPECT_EQ(memory::take(level), unindented(expected))

// The priority in words other than the daemon's: in a mix mode the preferred uplink (0 mobile, 1
// WAN) keeps it while it is up and either connected or without an alternative; in every other mode
// the mode alone decides.
inline int expected_priority(int mode, int strategy, const bool (&up)[2],
                             const bool (&connected)[2]) {
    if (mode != 5 && mode != 7)
        return mode >= 2 && mode <= 6;
    if (strategy != 0 && strategy != 1)
        return 0;
    return up[strategy] && (connected[strategy] || !up[!strategy]) ? strategy : !strategy;
}
