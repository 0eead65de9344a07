// The tools as programs: what they print, where, and how they end. They lie in the working folder.
#include <cstdio>
#include <regex>

#include "host_test.h"

struct step {
    std::string command;
    int status;
    std::string output; // a regular expression; lines of standard error begin with '!'
};

static void expect_steps(const std::vector<step> &steps) {
    for (const step &s : steps) {
        FILE *pipe = popen(("PATH=.:$PATH; { " + s.command + "; } 2>/tmp/errors").c_str(), "r");
        std::string output;
        for (int character; (character = fgetc(pipe)) != EOF;)
            output += static_cast<char>(character);
        EXPECT_EQ(WEXITSTATUS(pclose(pipe)), s.status) << s.command;
        for (const std::string &line : file_lines("/tmp/errors"))
            output += "!" + line + "\n";
        EXPECT_TRUE(std::regex_match(output, std::regex(s.output))) << s.command << "\n" << output;
    }
}

static const std::string FAILURE = "!\\w+: .*\n", USAGE = FAILURE + "!Try '\\w+ --help'\\.\n";
static const std::string HELP = "Usage: [^!]*";

TEST(Tools, DevinfoReadsAndStores) {
    expect_steps({
        {"devinfo 1", 0, ""},
        {"devinfo 1 -1 && devinfo 1", 0, "-1\n"},
        {"printf 'a\\nb\\n' > " + ITEMS + "5; devinfo 5", 0, "a\nb\n"},
        {"printf 'y\\n%.0s' $(seq 3000) > " + ITEMS + "5; devinfo 5 | wc -c", 0, "6000\n"},
        {"mkfifo " + ITEMS + "6; devinfo 6", 1, FAILURE},
        {"devinfo 0 x", 1, FAILURE},
        {"devinfo 2147483648", 2, USAGE},
        {"devinfo \"$(printf '1\\nx')\"", 2, USAGE},
    });
}

TEST(Tools, SockmsgSendAndListenMeet) {
    expect_steps({
        {"sockmsg_send -d 25 -m 1", 1, "!sockmsg_send: .*25.*0x0001.*not registered\n"},
        {"uplinkctl listen 25 -n 2 -t 20 > /tmp/heard & "
         "timeout 10 sh -c 'until grep -q ready /tmp/heard; do sleep .01; done';"
         "sockmsg_send -d 25 -m 0x5304; uplinkctl listen 25; sockmsg_send -m 21253 -d 25; wait;"
         "cat /tmp/heard; ls " +
             BUS,
         0, "ready\n0x5304 from 0 bcast 0 payload 0\n0x5305 from 0 bcast 0 payload 0\n" + FAILURE},
        {"sockmsg_send -d 25", 2, USAGE},
    });
}

TEST(Tools, UplinkctlKeepsSettingsAndFlags) {
    expect_steps({
        {"uplinkctl config set A ' x=y ' && uplinkctl config get A", 0, " x=y \n"},
        {"printf '#c\\nB=\\nA=2\\n' >> " + SETTINGS + "; uplinkctl config list", 0, "B=\nA=2\n"},
        {"uplinkctl config unset A && uplinkctl config unset A; uplinkctl config list", 0, "B=\n"},
        {"uplinkctl config set A= 1", 1, FAILURE},
        {"uplinkctl config set A \"$(printf '1\\n2')\"", 1, FAILURE},
        {"uplinkctl flag set F 1 && uplinkctl flag get F", 0, "1\n"},
        {"uplinkctl flag set ../F 1", 1, FAILURE},
        {"uplinkctl --help", 0, HELP},
        {"uplinkctl config set USR_WAN_MODE 5; devinfo 201001 1; devinfo 201101 1; devinfo 201114 "
         "0;"
         "uplinkctl explain",
         0,
         "WAN mode +5 .*\nstrategy +0 .*\nmobile +up, not connected\nwired WAN +up, not connected\n"
         "priority +1, the WAN: mobile first.*\nrecorded +'0', not the same: .* by somebody "
         "else\n"},
    });
}

TEST(Tools, AddrFormatIsCanonicalOrSilent) {
    std::vector<step> steps = {
        {"addr_format -6 -s perfer -d compact -a", 2, USAGE},
        {"addr_format -6 -s prefer -d compact -a ::1", 2, USAGE},
    };
    const struct {
        const char *form, *given, *printed; // none: no address
    } CASES[] = {
        {"perfer", "0::0", "::"},
        {"perfer", "2001:DB8:0:0:1:0:0:1", "2001:db8::1:0:0:1"}, // the first of two equal runs
        {"perfer", "1:0:0:4:0:0:0:8", "1:0:0:4::8"},             // the longest run
        {"perfer", "1:2:3:0:5:6:7:8", "1:2:3:0:5:6:7:8"},        // a single group stays
        {"perfer", "0::1:2:3:4:5:6", "::1:2:3:4:5:6"},
        {"perfer", "1:2:3:4:5:6:0:0", "1:2:3:4:5:6::"},
        {"perfer", "0:0:0:0:0:ffff:102:304", "::ffff:1.2.3.4"},
        {"perfer", "::1.2.3.4", "::102:304"}, // only mapped addresses keep the mixed form
        {"no_separator", "fe80000000000000021A2bfffe3c4d5e", "fe80::21a:2bff:fe3c:4d5e"},
        {"no_separator", "fe80000000000000021A2bfffe3c4d5g", nullptr},
        {"perfer", "10.0.0.1", nullptr},
        {"perfer", "", nullptr},
    };
    for (const auto &c : CASES)
        steps.push_back(
            {std::string("addr_format -6 -s ") + c.form + " -d compact -a '" + c.given + "'",
             c.printed != nullptr ? 0 : 1,
             c.printed != nullptr ? std::string(c.printed) + "\n" : FAILURE});
    expect_steps(steps);
}
