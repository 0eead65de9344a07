#include "wan/wan_settings.h"

#include "base/log_forms.h"
#include "base/text.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/setting_ranges.h"

static constexpr int DEFAULT_SUB_PORT_NUM = 3;
static constexpr int DEFAULT_MTU = 1500;
static constexpr int MRU_NOT_SET = 0;

using setting_value = text<32>;

static setting_value lower_case_setting(const char *key, int idx) {
    setting_value value = setting_text<32>(key_of_index(key, idx).c_str());
    uplinkd_util_str_tolower(value.data(), value.size());
    return value;
}

uplinkd_ip_version uplinkd_cfg_get_wired_ipversion_by_idx(int idx) {
    const setting_value version = lower_case_setting(USR_WAN_IPVERSION, idx);
    UPLINKD_TRACE(LOG_ROUTINE, "got ipversion  (%s) from cfg by idx (%d)", version.c_str(), idx);
    return value_of_name(IP_VERSIONS, version.c_str(), IPVER_NONE);
}

uplinkd_ipmode uplinkd_cfg_get_wired_ipmode_v4_by_idx(int idx) {
    const setting_value mode = lower_case_setting(USR_WAN_IPMODE, idx);
    UPLINKD_TRACE(LOG_ROUTINE, "got ipmode v4 (%s) from cfg  by idx (%d)", mode.c_str(), idx);
    return value_of_name(IPV4_MODES, mode.c_str(), IPMODE_NONE);
}

uplinkd_ipmode uplinkd_cfg_get_wired_ipmode_v6_by_idx(int idx) {
    const int mode = get_CFG_int(key_of_index(USR_WAN_V6_IPMODE, idx).c_str());
    return mode >= 0 && mode <= LAST_IPV6_MODE ? IPV6_MODES[mode] : IPMODE_NONE;
}

int uplinkd_cfg_get_wired_sub_port_num() {
    const text<8> value = setting_text<8>(SYS_WIRED_WAN_SUB_PORT_NUM);
    if (value.empty())
        return DEFAULT_SUB_PORT_NUM;
    const int number = to_int(value.c_str());
    return is_wan_index(number) ? number : DEFAULT_SUB_PORT_NUM;
}

// These two keys carry the index for every index.
static int int_of_wan_index(const char *key, int idx) {
    if (!is_wan_index(idx))
        return 0;
    return get_CFG_int(always_indexed_key(key, idx).c_str());
}

int uplinkd_cfg_get_wired_sw_by_idx(int idx) {
    return int_of_wan_index(USR_WIRED_WAN_SW, idx);
}

int uplinkd_cfg_get_wired_vlan_id_by_idx(int idx) {
    return int_of_wan_index(USR_WIRED_WAN_VLAN_ID, idx);
}

int uplinkd_cfg_get_ppp_user_and_pwd_by_idx(char *user, int user_size, char *pwd, int pwd_size,
                                            int idx) {
    if (user == nullptr || pwd == nullptr)
        return -1;
    if (!is_wan_index(idx)) {
        UPLINKD_TRACE(LOG_REJECTED, "got invalid wan idx(%d)", idx);
        return -1;
    }
    cfg_get_item(key_of_index(USR_WAN_PPPOE_USERNAME, idx).c_str(), user, user_size);
    cfg_get_item(key_of_index(USR_WAN_PPPOE_PASSWORD, idx).c_str(), pwd, pwd_size);
    return 0;
}

int uplinkd_cfg_get_ppp_mtu_by_idx(int idx) {
    if (!is_wan_index(idx)) {
        UPLINKD_TRACE(LOG_REJECTED, "got invalid wan idx(%d), use default(%d)", idx, DEFAULT_MTU);
        return DEFAULT_MTU;
    }
    const int mtu = get_CFG_int(key_of_index(USR_WAN_MTU, idx).c_str());
    if (mtu > 0)
        return mtu;
    UPLINKD_TRACE(LOG_REJECTED, "got invalid mtu, using default(%d)", DEFAULT_MTU);
    return DEFAULT_MTU;
}

int uplinkd_cfg_get_ppp_mru_by_idx(int idx) {
    if (!is_wan_index(idx)) {
        UPLINKD_TRACE(LOG_REJECTED, "got invalid wan idx(%d), return with (%d)", idx, MRU_NOT_SET);
        return MRU_NOT_SET;
    }
    const int mru = get_CFG_int(key_of_index(USR_WAN_MRU, idx).c_str());
    if (mru > 0)
        return mru;
    UPLINKD_TRACE(LOG_REJECTED, "got invalid mru, return with (%d)", MRU_NOT_SET);
    return MRU_NOT_SET;
}

void uplinkd_util_str_tolower(char *text, int max_len) {
    if (text == nullptr)
        return;
    for (int i = 0; i < max_len && text[i] != '\0'; i++) {
        if (text[i] >= 'A' && text[i] <= 'Z')
            text[i] = static_cast<char>(text[i] - 'A' + 'a');
    }
}
