// What no message leads to: indexes that no WAN has, files in the way, the words of the bridge
// mask.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <sys/stat.h>

#include "expect.h"
#include "guard/subnet_conflict.h"
#include "provision/clients/client_files.h"
#include "provision/clients/ppp.h"
#include "provision/wired_wan.h"
#include "wan/setting_keys.h"
#include "wan/wan_record.h"
#include "wan/wan_settings.h"

TEST(wan_settings, have_indexes_from_0_to_8) {
    given("USR_WIRED_WAN_SW_8=2 USR_WIRED_WAN_SW_9=1 USR_WIRED_WAN_VLAN_ID_-1=10 "
          "USR_WAN_MTU_8=9000 USR_WAN_MTU_9=1400 USR_WAN_MRU_8=1400 USR_WAN_MRU_-1=1400");
    char user[32] = "before", password[5] = "";
    EXPECT_EQ(uplinkd_cfg_get_wired_sw_by_idx(8), 2);
    EXPECT_EQ(uplinkd_cfg_get_wired_sw_by_idx(9), 0);
    EXPECT_EQ(uplinkd_cfg_get_wired_vlan_id_by_idx(-1), 0);
    EXPECT_EQ(uplinkd_cfg_get_ppp_mtu_by_idx(8), 9000);
    EXPECT_EQ(uplinkd_cfg_get_ppp_mtu_by_idx(9), 1500);
    EXPECT_EQ(uplinkd_cfg_get_ppp_mru_by_idx(8), 1400);
    EXPECT_EQ(uplinkd_cfg_get_ppp_mru_by_idx(-1), 0);
    EXPECT_EQ(uplinkd_cfg_get_ppp_user_and_pwd_by_idx(user, 32, password, 5, 9), -1);
    EXPECT_STREQ(user, "before");
    EXPECT_EQ(uplinkd_cfg_get_ppp_user_and_pwd_by_idx(user, 32, nullptr, 0, 8), -1);
    EXPECT_EQ(uplinkd_dhcpc_clean_unuse_files_by_idx(9), -1);
    EXPECT_EQ(uplinkd_ppp_clean_unuse_files_by_idx(-1), -1);
    EXPECT_CALLS(4, R"(
        log 1 uplinkd_cfg_get_ppp_mtu_by_idx: got invalid wan idx(9), use default(1500)
        log 1 uplinkd_cfg_get_ppp_mru_by_idx: got invalid wan idx(-1), return with (0)
        log 1 uplinkd_cfg_get_ppp_user_and_pwd_by_idx: got invalid wan idx(9)
        log 0 uplinkd_dhcpc_clean_unuse_files_by_idx: got invalid wan idx(9)
        log 0 uplinkd_ppp_clean_unuse_files_by_idx: got invalid wan idx(-1))");
}

TEST(wan_settings, have_the_defaults_that_the_table_tells) {
    given("");
    const std::pair<std::string, std::string> is[] = {
        {"SYS_WIRED_WAN_SUB_PORT_NUM", std::to_string(uplinkd_cfg_get_wired_sub_port_num())},
        {"USR_WAN_MTU", std::to_string(uplinkd_cfg_get_ppp_mtu_by_idx(0))},
        {"USR_WIRED_WAN_SW", std::to_string(uplinkd_cfg_get_wired_sw_by_idx(1))},
    };
    std::map<std::string, std::string> told;
#define ROW(key, indexes, values, fallback, otherwise, effect) told[key] = fallback;
    UPLINKD_SETTINGS(ROW)
#undef ROW
    for (const auto &[key, value] : is)
        EXPECT_EQ(told[key], value) << key;
}

TEST(wan_record, of_a_mode_without_a_band_has_the_shared_items_only) {
    wan_di_set set = WLAN58_RECORD;
    EXPECT_EQ(uplinkd_cfg_get_di_wlan_by_mode(&set, WAN_MODE_WIRED), -1);
    EXPECT_EQ(set.ifname_id + set.iface_type_id + set.netstatus_id, 0U);
    EXPECT_EQ(set.ipv4_addr_id, 201203U);
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
    put_file(CHAP_SECRETS, "old * old\n");
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
        const std::string function = "\nlog 1 uplinkd_ppp_add_user_and_pwd_2_secret: ";
        EXPECT_CALLS(1, *one.log != '\0' ? function + one.log : "");
    }
}

TEST(client_files, of_every_wan_that_is_set_up_are_removed) {
    const std::string kinds[] = {"/tmp/.udhcpc_v4_wan", "/tmp/.udhcpc6_v6_wan", "/tmp/.pppd_wan"};
    const auto fname = [&kinds](int n) {
        return kinds[n % 3] + std::to_string(n / 3) + (n % 3 == 2 ? "_ppp.pid" : ".pid");
    };
    for (int n = 0; n < 30; ++n)
        put_file(fname(n), "1");
    given("SYS_WIRED_WAN_SUB_PORT_NUM=8");
    uplinkd_process_wired_up(2);
    for (int n = 0; n < 30; ++n)
        EXPECT_EQ(std::filesystem::exists(fname(n)), n / 3 == 9) << fname(n);
}

TEST(subnet_conflict, reads_the_mask_in_words) {
    using words = std::array<uint32_t, 3>;
    const struct {
        const char *text;
        int max_len;
        words lowest_first;
    } cases[] = {
        {"", 32, {0, 0, 0}},
        {"fFfFfFfF", 32, {0xFFFFFFFF, 0, 0}},
        {"0x3", 32, {0, 0, 0}},
        {"0x00000003", 32, {3, 0, 0}},
        {"A1020304050607080", 32, {0x50607080, 0x10203040, 0xA}},
        {"12345678eeeeeeeeAAAAAAAA0BBBBBBB00CCCCCC", 32, {0xBBBBBBB, 0xAAAAAAAA, 0xEEEEEEEE}},
        {"12g4", 3, {0x12, 0, 0}},
        {"12", 0, {9, 9, 9}},
        {nullptr, 32, {9, 9, 9}},
    };
    for (const auto &[text, max_len, expected] : cases) {
        words read = {9, 9, 9};
        uplinkd_parse_hex_words(text, max_len, &read[0], nullptr, nullptr);
        uplinkd_parse_hex_words(text, max_len, nullptr, &read[1], &read[2]);
        EXPECT_EQ(read, expected) << (text == nullptr ? "null" : text);
    }
    EXPECT_EQ(uplinkd_process_is_addrv4_conflict_with_lan(nullptr, "255.0.0.0"), -1);
    EXPECT_EQ(uplinkd_process_is_addrv4_conflict_with_v_lan("10.0.0.1", nullptr), -1);
}
