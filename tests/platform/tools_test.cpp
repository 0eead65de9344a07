// The tools as programs: what they print, where, and how they end. They lie in the working folder.
#include <cstdlib>
#include <regex>

#include "host_test.h"

// Regular expressions; a line of standard error begins with '!'. They tell the exit status, too.
static const std::string FAILURE = "!\\w+: .*\n", USAGE = FAILURE + "!Try '\\w+ --help'\\.\n";

TEST(Tools, AnswerOrFailWithAReasonAndAStatus) {
    const struct {
        std::string command, output;
    } STEPS[] = {
        {"for t in devinfo sockmsg_send addr_format uplinkctl; do"
         " $t --version; [ \"$($t -h)\" = \"$($t --help)\" ] && $t -h | grep Usage; done",
         "(\\w+ " VERSION "\nUsage: .*\n){4}"},
        {"devinfo 1; devinfo 1 -1 && devinfo 1", "-1\n"},
        {"printf 'y\\n%.0s' $(seq 3000) > " + ITEMS + "5; devinfo 5 | wc -c", "6000\n"},
        {"printf 'y%.0s' $(seq 70000) > " + ITEMS + "5; devinfo 5", FAILURE},
        {"mkfifo " + ITEMS + "6; devinfo 6", FAILURE},
        {"devinfo 2147483648", USAGE},
        {"devinfo \"$(printf '1\\nx')\"", USAGE},
        {"sockmsg_send -d 25 -m 1", "!sockmsg_send: .*25.*0x0001.*not registered\n"},
        {"uplinkctl listen 25 -n 2 -t 20 > /tmp/heard & "
         "timeout 10 sh -c 'until grep -qs ready /tmp/heard; do sleep .01; done';"
         "sockmsg_send -d 25 -m 0x5304; uplinkctl listen 25 -t 1 2>&1 | grep -c registered;"
         "sockmsg_send -m 21253 -d 25; wait; cat /tmp/heard; ls " +
             BUS,
         "1\nready\n0x5304 from 0 bcast 0 payload 0\n0x5305 from 0 bcast 0 payload 0\n"},
        {"sockmsg_send -d 25", USAGE},
        {"uplinkctl config set A ' x=y ' && uplinkctl config get A", " x=y \n"},
        {"printf '#c\\nB=\\nA=2\\n' >> " + SETTINGS + "; uplinkctl config list", "B=\nA=2\n"},
        {"uplinkctl config unset A && uplinkctl config unset A; uplinkctl config list", "B=\n"},
        {"uplinkctl config set A \"$(printf '1\\n2')\"", FAILURE},
        {"uplinkctl flag set F 1 && uplinkctl flag get F", "1\n"},
        {"uplinkctl flag set ../F 1", FAILURE},
        {"uplinkctl config set USR_WAN_MODE 5; for i in 201001 201101; do devinfo $i 1; done;"
         "devinfo 201114 0; uplinkctl explain",
         "WAN mode +5 .*\nstrategy +0 .*\npriority +1, the WAN: mobile first.*\n"
         "recorded +'0', not the same: .* by somebody else\n[^>]*"
         "  > mobile first, but it is not connected and the WAN is up +WAN\n[^>]*"},
        {"uplinkctl explain --set MOBILE_IP=192.0.2.9 --set 201007=192.0.2.1 | grep -A1 priority",
         "priority +0, .*: mobile first, and the mobile network is connected\n\n"},
        {"uplinkctl explain --set MOBILE_PI=1", USAGE},
        {"devinfo wired_wan_ip_2 192.0.2.7 && devinfo DI_IFA_WIRED_WAN_IP_2; devinfo 262002",
         "(192\\.0\\.2\\.7\n){2}"},
        {"devinfo WAN_PRIORITY_2", USAGE},
        {"sockmsg_send -d uis -m wan_status_change",
         "!.*25 \\(uis\\).*0x5301 \\(WAN_STATUS_CHANGE\\).*\n"},
        {"ipv6 prefer -a ::1", USAGE},
        {"ipv6 perfer -a 0::0", "::\n"},
        {"ipv6 perfer -a 2001:DB8:0:0:1:0:0:1", "2001:db8::1:0:0:1\n"}, // the first of two runs
        {"ipv6 perfer -a 1:0:0:4:0:0:0:8", "1:0:0:4::8\n"},             // the longest run
        {"ipv6 perfer -a 1:2:3:0:5:6:7:8", "1:2:3:0:5:6:7:8\n"},        // a single group stays
        {"ipv6 perfer -a 1:2:3:4:5:6:0:0", "1:2:3:4:5:6::\n"},
        {"ipv6 perfer -a 0:0:0:0:0:ffff:102:304", "::ffff:1\\.2\\.3\\.4\n"},
        {"ipv6 perfer -a ::1.2.3.4", "::102:304\n"}, // only mapped addresses keep the mixed form
        {"ipv6 no_separator -a fe80000000000000021A2bfffe3c4d5e", "fe80::21a:2bff:fe3c:4d5e\n"},
        {"ipv6 no_separator -a fe80000000000000021A2bfffe3c4d5g", FAILURE},
        {"ipv6 perfer -a 10.0.0.1", FAILURE},
    };
    for (const auto &[command, output] : STEPS) {
        const int ended =
            system(("PATH=.:$PATH; ipv6() { addr_format -6 -d compact -s \"$@\"; }; { " + command +
                    "; } > /tmp/printed 2> /tmp/errors; status=$?;"
                    "sed 's/^/!/' /tmp/errors >> /tmp/printed; exit $status")
                       .c_str());
        const int status = output == USAGE ? 2 : output.starts_with('!') ? 1 : 0;
        EXPECT_EQ(WEXITSTATUS(ended), status) << command;
        const std::string printed = file_text("/tmp/printed");
        EXPECT_TRUE(std::regex_match(printed, std::regex(output))) << command << "\n" << printed;
    }
}
