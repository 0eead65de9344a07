// What the settings of one index say, and the words of the bridge mask. Everything else of the
// provisioning is in the transcripts.
#include <sys/stat.h>

#include "expect.h"
#include "guard/subnet_conflict.h"
#include "provision/clients/client_files.h"
#include "provision/clients/ppp.h"
#include "wan/wan_settings.h"

TEST(wan_settings, read_the_keys_of_their_index) {
    const auto ipversion = [](int idx) { return int{uplinkd_cfg_get_wired_ipversion_by_idx(idx)}; };
    const auto mode_v4 = [](int idx) { return int{uplinkd_cfg_get_wired_ipmode_v4_by_idx(idx)}; };
    const auto mode_v6 = [](int idx) { return int{uplinkd_cfg_get_wired_ipmode_v6_by_idx(idx)}; };
    const auto sub_ports = [](int) { return uplinkd_cfg_get_wired_sub_port_num(); };
    const auto enabled = uplinkd_cfg_get_wired_sw_by_idx;
    const auto vlan_id = uplinkd_cfg_get_wired_vlan_id_by_idx;
    const auto mtu = uplinkd_cfg_get_ppp_mtu_by_idx, mru = uplinkd_cfg_get_ppp_mru_by_idx;
    const struct {
        int (*read)(int);
        int idx;
        const char *setting;
        int result;
        const char *log = "";
    } cases[] = {
        {ipversion, 0, "USR_WAN_IPVERSION=IPV4V6", 3, "ipversion  (ipv4v6) from cfg by idx (0)"},
        {ipversion, 3, "USR_WAN_IPVERSION_3=IPv6", 2, "ipversion  (ipv6) from cfg by idx (3)"},
        {ipversion, 8, "USR_WAN_IPVERSION_8=ipv4", 1, "ipversion  (ipv4) from cfg by idx (8)"},
        {ipversion, 0, "USR_WAN_IPVERSION=ipv4~", 0, "ipversion  (ipv4 ) from cfg by idx (0)"},
        {ipversion, 0, "USR_WAN_IPVERSION=ipv4v6x", 0, "ipversion  (ipv4v6x) from cfg by idx (0)"},
        {ipversion, 1, "USR_WAN_IPVERSION=ipv4", 0, "ipversion  () from cfg by idx (1)"},
        {mode_v4, 0, "USR_WAN_IPMODE=LinkPPP", 6, "ipmode v4 (linkppp) from cfg  by idx (0)"},
        {mode_v4, 2, "USR_WAN_IPMODE_2=STATIC", 1, "ipmode v4 (static) from cfg  by idx (2)"},
        {mode_v4, 2, "USR_WAN_IPMODE_2=dhcp", 2, "ipmode v4 (dhcp) from cfg  by idx (2)"},
        {mode_v4, 0, "USR_WAN_IPMODE=pppoe", 0, "ipmode v4 (pppoe) from cfg  by idx (0)"},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=1", 3},
        {mode_v6, 1, "USR_WAN_V6_IPMODE_1=2", 4},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=3", 5},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=4", 1},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=5", 6},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=6", 0},
        {mode_v6, 0, "USR_WAN_V6_IPMODE=-1", 0},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=", 3},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=0", 0},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=8", 8},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=9", 3},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=-1", 3},
        {sub_ports, 0, "SYS_WIRED_WAN_SUB_PORT_NUM=abc", 0},
        {enabled, 0, "USR_WIRED_WAN_SW_0=2", 2},
        {enabled, 9, "USR_WIRED_WAN_SW_9=1", 0},
        {vlan_id, 0, "USR_WIRED_WAN_VLAN_ID_0=4095", 4095},
        {vlan_id, -1, "USR_WIRED_WAN_VLAN_ID_-1=10", 0},
        {mtu, 8, "USR_WAN_MTU_8=9000", 9000},
        {mtu, 0, "USR_WAN_MTU=-5", 1500, "invalid mtu, using default(1500)"},
        {mtu, 9, "USR_WAN_MTU_9=1400", 1500, "invalid wan idx(9), use default(1500)"},
        {mru, 1, "USR_WAN_MRU_1=1400", 1400},
        {mru, 0, "USR_WAN_MRU=0", 0, "invalid mru, return with (0)"},
        {mru, -1, "USR_WAN_MRU_-1=1400", 0, "invalid wan idx(-1), return with (0)"},
    };
    for (const auto &one : cases) {
        memory::settings.clear();
        given(one.setting);
        EXPECT_EQ(one.read(one.idx), one.result) << one.setting;
        std::vector<std::string> log = memory::take(one.read == mtu || one.read == mru ? 1 : 4);
        for (std::string &line : log)
            line.erase(0, line.find(": got ") + 6);
        EXPECT_TRUE(calls_are(log, one.log)) << one.setting;
    }
}

TEST(wan_settings, leave_the_buffers_alone_where_there_is_no_index) {
    const auto read_user = uplinkd_cfg_get_ppp_user_and_pwd_by_idx;
    char user[32] = "before", password[5] = "";
    EXPECT_EQ(read_user(user, sizeof user, password, sizeof password, 9), -1);
    EXPECT_EQ(read_user(user, sizeof user, nullptr, 0, 9), -1);
    EXPECT_STREQ(user, "before");
    EXPECT_CALLS(4, "log 1 uplinkd_cfg_get_ppp_user_and_pwd_by_idx: got invalid wan idx(9)");
}

TEST(ppp_secrets, hold_what_pppd_reads_back) {
    const struct {
        const char *user, *pwd, *line, *log;
    } cases[] = {
        {"p$w", "p&w*r(d)!", "p$w * p&w*r(d)!\n", ""},
        {"@/me", "~{a};|<b>?`^[x]", "@/me * ~{a};|<b>?`^[x]\n", ""},
        {"\xc3\xa9.1", "a b", "\xc3\xa9.1 * \"a b\"\n", ""},
        {"a'b", "a\"b\\", "\"a'b\" * \"a\\\"b\\\\\"\n", ""},
        {"a\\", "#", "\"a\\\\\" * \"#\"\n", ""},
        {"me", "@/etc/passwd", "",
         "PPPoE password refused: it begins with @/ as the name of a file does"},
        {"me", "a\nb * c", "", "PPPoE password refused: a control character in it"},
        {"a\x7f", "x", "", "PPPoE user name refused: a control character in it"},
        {"", "x", "", "got empty user or pwd"},
        {"me", "", "", "got empty user or pwd"},
    };
    write_file(CHAP_SECRETS, "old * old\n");
    chmod(CHAP_SECRETS, 0644);
    for (const auto &one : cases) {
        SCOPED_TRACE(std::string(one.user) + " " + one.pwd);
        uplinkd_ppp_clean_secrets();
        ppp_cfg_set cfg = {};
        cfg.ppp_user = to_text<32>(one.user), cfg.ppp_pwd = to_text<32>(one.pwd);
        EXPECT_EQ(uplinkd_ppp_add_user_and_pwd_2_secret(&cfg), *one.line != '\0' ? 0 : -1);
        EXPECT_EQ(file_text(CHAP_SECRETS), one.line);
        EXPECT_EQ(file_text(PAP_SECRETS), one.line);
        EXPECT_EQ(std::filesystem::status(CHAP_SECRETS).permissions(),
                  std::filesystem::perms{0600});
        const std::string function = "log 1 uplinkd_ppp_add_user_and_pwd_2_secret: ";
        EXPECT_CALLS(1, *one.log != '\0' ? function + one.log : "");
    }
}

TEST(client_files, are_removed_by_index) {
    const std::string pids[] = {"/tmp/.udhcpc_v4_wan8.pid", "/tmp/.udhcpc6_v6_wan8.pid",
                                "/tmp/.pppd_wan8_ppp.pid", "/tmp/.udhcpc_v4_wan7.pid"};
    for (const std::string &pid : pids)
        write_file(pid, "1");
    EXPECT_EQ(uplinkd_dhcpc_clean_unuse_files_by_idx(8), 0);
    EXPECT_EQ(uplinkd_ppp_clean_unuse_files_by_idx(8), 0);
    for (const std::string &pid : pids)
        EXPECT_EQ(std::filesystem::exists(pid), pid == pids[3]) << pid;
}

TEST(client_files, are_named_within_their_buffer) {
    char name[10] = "before";
    EXPECT_EQ(uplinkd_ppp_get_script_fname_by_idx(name, sizeof name, 2, IPVER_V4V6, PPP_SCRIPT_UP),
              -1);
    EXPECT_EQ(
        uplinkd_ppp_get_script_fname_by_idx(name, sizeof name, 2, IPVER_V4, ppp_script_type{}), -1);
    EXPECT_STREQ(name, "before");
    uplinkd_dhcpc_get_script_fname_by_idx(name, sizeof name, UDHCPC6, 8, IPVER_V6);
    EXPECT_STREQ(name, "/tmp/.udh");
    uplinkd_dhcpc_get_pid_fname_by_idx(name, sizeof name, UDHCPC, 0, IPVER_NONE);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(uplinkd_dhcpc_clean_unuse_files_by_idx(9), -1);
    EXPECT_EQ(uplinkd_ppp_clean_unuse_files_by_idx(-1), -1);
    EXPECT_CALLS(4, R"(
        log 1 uplinkd_ppp_get_script_fname_by_idx: got invalid ip version
        log 1 uplinkd_ppp_get_script_fname_by_idx: got invalid ppp script type
        log 0 uplinkd_dhcpc_clean_unuse_files_by_idx: got invalid wan idx(9)
        log 0 uplinkd_ppp_clean_unuse_files_by_idx: got invalid wan idx(-1))");
}

TEST(subnet_conflict, reads_the_mask_in_words) {
    const struct {
        const char *text;
        int max_len;
        uint32_t lowest, middle, highest;
    } cases[] = {
        {"", 32, 0, 0, 0},
        {"fFfFfFfF", 32, 0xFFFFFFFF, 0, 0},
        {"0x3", 32, 0, 0, 0},
        {"0x00000003", 32, 3, 0, 0},
        {"A1020304050607080", 32, 0x50607080, 0x10203040, 0xA},
        {"eeeeeeeeAAAAAAAA0BBBBBBB00CCCCCC", 32, 0xCCCCCC, 0xBBBBBBB, 0xAAAAAAAA},
        {"12345678eeeeeeeeAAAAAAAA0BBBBBBB00CCCCCC", 32, 0xBBBBBBB, 0xAAAAAAAA, 0xEEEEEEEE},
        {"12g4", 3, 0x12, 0, 0},
        {"12", 0, 9, 9, 9},
        {nullptr, 32, 9, 9, 9},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.text == nullptr ? "null" : one.text);
        uint32_t lowest = 9, middle = 9, highest = 9;
        uplinkd_parse_hex_words(one.text, one.max_len, &lowest, nullptr, nullptr);
        uplinkd_parse_hex_words(one.text, one.max_len, nullptr, &middle, &highest);
        EXPECT_EQ(lowest, one.lowest);
        EXPECT_EQ(middle, one.middle);
        EXPECT_EQ(highest, one.highest);
    }
    EXPECT_EQ(uplinkd_process_is_addrv4_conflict_with_lan(nullptr, "255.0.0.0"), -1);
    EXPECT_EQ(uplinkd_process_is_addrv4_conflict_with_v_lan("10.0.0.1", nullptr), -1);
}
