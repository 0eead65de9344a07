// The tools as programs: what they print, where, and how they end. They lie in the working folder.
#include <cstdlib>
#include <regex>

#include "host_test.h"

// Regular expressions; a line of standard error begins with '!'. They tell the exit status, too.
static const std::string FAILURE = "!\\w+: .*\n", USAGE = FAILURE + "!Try '\\w+ --help'\\.\n";

// What `config check` says of one line of the settings, "" if nothing; `config set --strict`
// agrees.
TEST(Tools, CheckSettingsAsTheDaemonReadsThem) {
    const struct {
        std::string setting, fault;
    } LINES[] = {
        {"USR_WAN_MODE=1", ""},
        {"USR_WAN_MODE=7", ""},
        {"USR_WAN_MODE=8",
         "not in range (1 to 7); no WAN is brought up, and the mobile network has "
         "priority"},
        {"USR_WAN_MODE=0",
         "not in range (1 to 7); no WAN is brought up, and the mobile network has "
         "priority"},
        {"USR_WAN_MODE=", ""},
        {"USR_WAN_MODE= 5x", "not a plain number; it counts as 5"},
        {"USR_WAN_LINK_DETECT_SW=-9", ""},
        {"USR_WAN_LINK_DETECT_SW=on", "not a plain number; it counts as 0"},
        {"USR_FLOW_SMS_NOTICE_DELAY=60", ""},
        {"USR_FLOW_SMS_NOTICE_DELAY=61", "not in range (1 to 60); the default counts"},
        {"SYS_REBOOT_WHEN_MODEM_UNORMAL=0", ""},
        {"SYS_REBOOT_WHEN_MODEM_UNORMAL=10", "not in range (0 or 1); it counts as 1"},
        {"SYS_WIRED_WAN_SUB_PORT_NUM=8", ""},
        {"SYS_WIRED_WAN_SUB_PORT_NUM=9", "not in range (0 to 8); the default counts"},
        {"USR_APN_PDP_TYPE=IP", ""},
        {"USR_APN_PDP_TYPE=ipv6", "not in just these letters (IPV6); an IPv4 address is needed"},
        {"USR_WIRED_WAN_VLAN_ID_0=0", ""},
        {"USR_WIRED_WAN_VLAN_ID_8=4095", ""},
        {"USR_WIRED_WAN_VLAN_ID_1=0", "not in range (10 to 4095); the index is not brought up"},
        {"USR_WAN_IPVERSION_2=IPv4v6", ""},
        {"USR_WAN_IPVERSION_2=4", "not in range (ipv4, ipv6 or ipv4v6); no addresses are set up"},
        {"USR_WAN_IPMODE_1=LinkPPP", ""},
        {"USR_WAN_IPMODE=STATIC", ""},
        {"USR_WAN_IPMODE=LinkPPP", "not in just these letters (dhcp, static or linkPPP); it is "
                                   "judged by the static addresses"},
        {"USR_WAN_IPMODE=pppoe",
         "not in range (dhcp, static or linkPPP); no IPv4 addresses are set up"},
        {"USR_WAN_V6_IPMODE_8=5", ""},
        {"USR_WAN_V6_IPMODE=6", "not in range (1 to 5); no IPv6 addresses are set up"},
        {"USR_WAN_IPADDR_V4=192.0.2.1", ""},
        {"USR_WAN_IPADDR_V4=192.0.2.01", "not in range (a dotted quad); it cannot be set on the "
                                         "interface"},
        {"USR_WAN_MTU=99999999999", "not a plain number; it counts as 2147483647"},
        {"SYS_BRIDGE_VLAN_MASK=fFfF0001", ""},
        {"SYS_BRIDGE_VLAN_MASK=1fFfF0001",
         "not in range (up to 8 hexadecimal digits); it counts as FFFF0001"},
        {"SYS_LOG_LEVEL=-1", "not in range (0 or more); the default counts"},
        {"USR_WAN_PPPOE_USERNAME_1=1234567890123456789012345678901", ""},
        {"USR_WAN_PPPOE_USERNAME_1=12345678901234567890123456789012",
         "not in range (at most 31 bytes); it is cut"},
        {"USR_WAN_PPPOE_PASSWORD=@/hidden",
         "it begins with @/ as the name of a file does; no account is written, so that the "
         "provider refuses the link"},
        {"usr_wan_pppoe_pasword=hidden",
         "USR_WAN_PPPOE_PASSWORD may be meant; the daemon does not read it"},
        {"Usr_Wan_Mode=1", "USR_WAN_MODE may be meant; the daemon does not read it"},
        {"USR_WAN_MDOE=1", "USR_WAN_MODE may be meant; the daemon does not read it"},
        {"USR_WAN_IPMODE1=dhcp", "USR_WAN_IPMODE_1 may be meant; the daemon does not read it"},
        {"USR_WAN_IPMODE_0=dhcp", "USR_WAN_IPMODE may be meant; the daemon does not read it"},
        {"USR_WAN_IPMODE_01=dhcp", "USR_WAN_IPMODE_1 may be meant; the daemon does not read it"},
        {"USR_WAN_MODE_2=1", "USR_WAN_MODE may be meant; the daemon does not read it"},
        {"USR_WAN_MTU_99999999999=1",
         "known are USR_WAN_MTU, USR_WAN_MTU_1 to _8; the daemon does not read it"},
        {"USR_DHCP_LAN_IP_15=192.0.2.1", ""},
        {"USR_DHCP_LAN_IP_16=192.0.2.1",
         "known are USR_DHCP_LAN_IP, USR_DHCP_LAN_IP_1 to _15; the daemon does not read it"},
        {"USR_WIRED_WAN_SW=1", "known are USR_WIRED_WAN_SW_0 to _8; the daemon does not read it"},
        {"USR_WAN_IPADDR_V6=2001:db8::1", ""}, // another program's
        {"USR_WAN_MAC=00:00:5e:00:53:01", ""},
    };
    for (const auto &[setting, fault] : LINES) {
        put_file(SETTINGS, setting + "\n");
        std::string said = setting + ": " + fault + "\n";
        if (const size_t secret = setting.find("hidden"); secret != std::string::npos)
            said = setting.substr(0, setting.find('=')) + "=(set): " + fault + "\n";
        EXPECT_EQ(printed_by("./uplinkctl config check"), fault.empty() ? "" : said);
        put_file(SETTINGS, "#\n");
        const size_t equals = setting.find('=');
        const std::string refused =
            printed_by("./uplinkctl config set --strict '" + setting.substr(0, equals) + "' '" +
                       setting.substr(equals + 1) + "' 2>&1; echo $?");
        EXPECT_EQ(refused, fault.empty() ? "0\n" : "uplinkctl: " + said + "1\n");
        EXPECT_EQ(file_text(SETTINGS), fault.empty() ? "#\n" + setting + "\n" : "#\n");
    }
}

#ifdef UPLINKCTL_METRICS
// say TEXT: a line of the daemon's log. figures NAMES: their lines of `uplinkctl metrics`.
static const std::string LOGGED =
    "cd /var/log/uplinkd || exit; PATH=$OLDPWD:$PATH; "
    "say() { printf '2026-01-31 00:00:00.000 UPLINKD[7] %s\\n' \"$1\" >> uplinkd.log; };"
    "start='0 [uplinkd] uplinkd_init--27: uplinkd_init start!';"
    "figures() { uplinkctl metrics | grep -E \"^uplinkd_($1)\"; }; ";
static const std::string MESSAGE = "uplinkd_messages_total\\{direction=\"received\",message=";
#endif

TEST(Tools, AnswerOrFailWithAReasonAndAStatus) {
    const struct {
        std::string command, output;
        int status = -1; // by the output
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
        {"uplinkctl config set USR_WAN_MUT 1 2>&1; uplinkctl config get USR_WAN_MUT",
         "uplinkctl: USR_WAN_MUT=1: USR_WAN_MTU may be meant; .*\n1\n"},
        {"uplinkctl config check", "USR_WAN_MUT=1: .*\n", 1},
        {"uplinkctl config unset USR_WAN_MUT; uplinkctl config check", ""},
        {"uplinkctl config set --strickt A 1", USAGE},
        {"uplinkctl config set --strict B && uplinkctl config unset --strict", ""}, // a key, too
        {"for s in USR_WAN_MTU=1400 USR_WAN_MTU_8=1401 USR_WAN_PPPOE_PASSWORD_2=hidden; do"
         " uplinkctl config set ${s%=*} ${s#*=}; done; uplinkctl config list --describe | tee "
         "/tmp/d"
         " | grep '[=]\\|hidden'; grep -E '.{80}' /tmp/d; grep -A3 '^USR_WAN_MRU' /tmp/d",
         "    now USR_WAN_PPPOE_PASSWORD_2=\\(set\\)\n    now USR_WAN_MTU=1400\n"
         "    now USR_WAN_MTU_8=1401\nUSR_WAN_MRU, USR_WAN_MRU_1 to _8\n    now not set\n"
         "    1 or more; default: the MTU; otherwise the default counts\n    The largest .*\n"},
        {"uplinkctl names settings | sed -n '/_VLAN_ID/p' | tr '\\t' '|'",
         "USR_WIRED_WAN_VLAN_ID\\|0-8\\|10 to 4095\\|\\|0\\|the index is not brought up\\|The "
         ".*\n"},
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
        {"uplinkctl explain --set USR_WAN_MOD=1", USAGE},
        {"uplinkctl explain --set USR_WAN_MODE=3 --set USR_WAN_IPMODE=dhcp --set "
         "WLAN24_WAN_NETSTATUS=1 --set "
         "WLAN_WAN_IP=10.0.0.2 | tail -n 1",
         "Wi-Fi 2.4 GHz +apcli0, up, not connected: no netmask\n"},
        {"for i in 1 2 4 8 9 10 28; do devinfo $((201100 + i)) $(printf 'a\\033[7m%.0s' $(seq 9)); "
         "done; uplinkctl status | LC_ALL=C.UTF-8 grep -E '.{81}|[[:cntrl:]]'; true",
         ""},
        {"for no in '' 1; do NO_COLOR=$no script -qec 'uplinkctl status' /dev/null | grep -c "
         "$(printf '\\033'); done; uplinkctl status | grep -c $(printf '\\033'); true",
         "[1-9]\n0\n0\n"},
        // A client's number is in a file of its own or behind a link; a pipe holds nobody up.
        {"f=/tmp/.udhcpc_v4_wan0.pid; see() { uplinkctl status | grep client; }; echo 4194304 > $f;"
         "see; mv $f /tmp/n; ln -s n $f; see; rm /tmp/n; see; mkfifo /tmp/n; see; rm $f /tmp/n",
         "( +client +udhcpc, pid 4194304, which is gone\n){2}"},
        // What was overlapped stands in the log, in the daemon's words, not in those that it
        // quotes.
        {"uplinkctl flag set UPLINKD_DETECT_WAN_NET_SEG_INVALID 1; say() { printf '2026-01-31 "
         "00:00:0%d.000 UPLINKD[7] 0 [uplinkd] f--1: %s\\n' $1 \"$2\" >> " +
             LOG +
             "; }; say 1 '\\n\\tlan_ipv4 ->10.0.0.1, lan_netmask ->255.0.0.0,\\n\\twan_ipv4_addr "
             "->10.0.0.2, wan_netmask ->255.0.0.0\\n\\trelations4 ->0'; say 2 'wan_mode_current "
             "->lan_ipv4 ->1.1.1.1, detect net segment v4 conflict!!!';"
             "uplinkctl explain | tail -n 3; uplinkctl flag set UPLINKD_DETECT_WAN_NET_SEG_INVALID "
             "0; "
             "rm " +
             LOG,
         " +2026-01-31 00:00:01.000\n +LAN +10.0.0.1/255.0.0.0\n +WAN +10.0.0.2/255.0.0.0\n"},
        {"devinfo wired_wan_ip_2 192.0.2.7 && devinfo DI_IFA_WIRED_WAN_IP_2; devinfo 262002",
         "(192\\.0\\.2\\.7\n){2}"},
        {"devinfo WAN_PRIORITY_2", USAGE},
        {"sockmsg_send -d uis -m wan_status_change",
         "!.*25 \\(uis\\).*0x5301 \\(WAN_STATUS_CHANGE\\).*\n"},
#ifdef UPLINKCTL_METRICS
        {"uplinkctl metrics --cgi | sed -n '1,/^\r/p;$p'",
         "Content-Type: application/openmetrics-text; version=1\\.0\\.0; charset=utf-8\r\n\r\n"
         "# EOF\n"},
        {"uplinkctl metrics --text", USAGE},
        {LOGGED +
             "say \"$start\"; say '0 [uplinkd] f: --1: uplinkd_init start!'; "
             "say '3 [uplinkd] f--1: uplinkd_init start!'; say '1 [uplinkd] f--1: \"\\'; "
             "say '0 [uplinkd] f--1: [uplinkd] [uplinkd_handler_msg] recv msg(0x103D) from uis';"
             "say '0 [uplinkd] f--1: [uplinkd] [uplinkd_handler_msg] recv msg(0xFFFFF000) from "
             "\"\\'; printf \"2026-01-31 00:00:00.000 UPLINKD[8] $start\" >> uplinkd.log; "
             "figures 'starts|mess|rej|log'",
         "uplinkd_starts_total 1\n" + MESSAGE +
             "\"PEER_MSG_ID_WAN_STATUS_CHANGE\",peer=\"uis\",result=\"accepted\"\\} 1\n" + MESSAGE +
             "\"other\",peer=\"unknown\",result=\"refused\"\\} 1\n"
             "uplinkd_rejected_values_total 1\nuplinkd_log_gaps_total 0\n"},
        // The line is completed, the log rotated; then it is emptied and filled again.
        {LOGGED + "echo >> uplinkd.log; mv uplinkd.log uplinkd.log.1; say \"$start\"; "
                  "figures starts; say \"$start\"; mv uplinkd.log uplinkd.log.1; figures starts",
         "uplinkd_starts_total 3\nuplinkd_starts_total 4\n"},
        {LOGGED +
             "say \"$start\"; figures starts; printf '%09000d\\n' > uplinkd.log; say \"$start\";"
             "figures 'starts|log_gaps'; figures 'starts|log_gaps'",
         "uplinkd_starts_total 5\n(uplinkd_starts_total 6\nuplinkd_log_gaps_total 1\n){2}"},
        // What lies in the place of the totals, 6, is none: what the logs hold counts, which is 3.
        {LOGGED +
             "s=/run/uplinkd/metrics; cp $s /tmp/t; for plant in 'printf x >> $s' 'mkfifo $s' "
             "'printf 7 | dd of=$s bs=1 seek=50 conv=notrunc 2>/tmp/dd' 'ln -s /tmp/t $s'; do "
             "rm $s; case $plant in p*) cp /tmp/t $s; esac; eval \"$plant\"; figures starts; done",
         "(uplinkd_starts_total 3\n){4}"},
        {"rm /run/uplinkd/metrics; mkdir /run/uplinkd/metrics; uplinkctl metrics", FAILURE},
#endif
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
    for (const auto &[command, output, expected] : STEPS) {
        const int ended =
            system(("PATH=.:$PATH; ipv6() { addr_format -6 -d compact -s \"$@\"; }; { " + command +
                    "; } > /tmp/printed 2> /tmp/errors; status=$?;"
                    "sed 's/^/!/' /tmp/errors >> /tmp/printed; exit $status")
                       .c_str());
        const int status = expected >= 0             ? expected
                           : output == USAGE         ? 2
                           : output.starts_with('!') ? 1
                                                     : 0;
        EXPECT_EQ(WEXITSTATUS(ended), status) << command;
        const std::string printed = file_text("/tmp/printed");
        EXPECT_TRUE(std::regex_match(printed, std::regex(output))) << command << "\n" << printed;
    }
}
