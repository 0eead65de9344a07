// A verdict needs a network status that is up, an address, and a DNS server; the WAN's also a
// netmask and a gateway. What a mode does not use stays empty, so its verdict is "0".

#include "arbitration/connection_status.h"

#include "base/text.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/network.h"
#include "wan/ifname.h"
#include "wan/items.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/setting_ranges.h"
#include "wan/uplinks.h"

namespace {

struct mobile_parameters {
    text<2> netstatus;
    text<16> ifname;
    text<IPV4_TEXT_SIZE> ipv4;
    text<64> ipv6;
    text<30> dns1, dns2;
};

struct wan_parameters {
    text<2> netstatus;
    text<IPV4_TEXT_SIZE> ipv4, netmask, gateway;
    text<30> dns1, dns2;
};

} // namespace

static mobile_parameters gather_mobile(const char *pdp_type) {
    mobile_parameters mobile;
    mobile.netstatus = item_text<2>(DI_IFA_MOBILE_NETSTATUS);
    mobile.ifname = item_ifname_or<16>(DI_IFA_MOBILE_REAL_IFACE, DEFAULT_MOBILE_IFNAME);
    if (is_ipv6_pdp_type(pdp_type))
        mobile.ipv6 = item_text<64>(DI_IFA_MOBILE_IPV6_IP);
    mobile.ipv4 = item_text<IPV4_TEXT_SIZE>(DI_IFA_MOBILE_IP);
    if (mobile.ipv4.empty())
        cmd_get_ipv4_address(mobile.ifname.c_str(), mobile.ipv4.data());
    mobile.dns1 = item_text<30>(DI_IFA_MOBILE_DNS);
    mobile.dns2 = item_text<30>(DI_IFA_MOBILE_DNS2);
    return mobile;
}

static void gather_wan_from_items(const uplink &source, wan_parameters &wan) {
    const learned_address<16> learned = read_learned_address<16>(source);
    wan.ipv4 = learned.ipv4;
    wan.netmask = learned.netmask;
    wan.gateway = item_text<IPV4_TEXT_SIZE>(source.items.ipv4_gateway_id);
    wan.dns1 = item_text<30>(source.items.ipv4_dns1_id);
    wan.dns2 = item_text<30>(source.items.ipv4_dns2_id);
}

static void gather_wan_from_settings(wan_parameters &wan) {
    wan.ipv4 = setting_text<IPV4_TEXT_SIZE>(USR_WAN_IPADDR_V4);
    wan.netmask = setting_text<IPV4_TEXT_SIZE>(USR_WAN_SUBMASK_V4);
    wan.gateway = setting_text<IPV4_TEXT_SIZE>(USR_WAN_GATEWAY_V4);
    wan.dns1 = setting_text<30>(USR_WAN_FIRSTDNS_V4);
    wan.dns2 = setting_text<30>(USR_WAN_SECDNS_V4);
}

static missing_piece missing_of(const mobile_parameters &mobile) {
    if (!is_one(mobile.netstatus))
        return missing_piece::network;
    if (mobile.ipv4.empty() && mobile.ipv6.empty())
        return missing_piece::address;
    return mobile.dns1.empty() && mobile.dns2.empty() ? missing_piece::dns : missing_piece::none;
}

static missing_piece missing_of(const wan_parameters &wan) {
    if (!is_one(wan.netstatus))
        return missing_piece::network;
    if (wan.ipv4.empty())
        return missing_piece::address;
    if (wan.netmask.empty())
        return missing_piece::netmask;
    if (wan.gateway.empty())
        return missing_piece::gateway;
    return wan.dns1.empty() && wan.dns2.empty() ? missing_piece::dns : missing_piece::none;
}

connection_verdicts judge_connections(int wan_mode) {
    const text<12> ipmode = setting_text<12>(USR_WAN_IPMODE);
    const text<8> pdp_type = setting_text<8>(USR_APN_PDP_TYPE);
    const uplink *source = uplink_of_mode(wan_mode);

    wan_parameters wan;
    mobile_parameters mobile;
    if (source != nullptr)
        wan.netstatus = item_text<2>(source->items.netstatus_id);
    if (uses_mobile(wan_mode))
        mobile = gather_mobile(pdp_type.c_str());
    if (source != nullptr) {
        if (learns_address(*source, ipmode.c_str()))
            gather_wan_from_items(*source, wan);
        else
            gather_wan_from_settings(wan);
    }
    return {missing_of(mobile), missing_of(wan)};
}

static void store_verdict(int item, missing_piece missing) {
    set_devinfo_value_by_id(item, missing == missing_piece::none ? "1" : "0", 1);
}

int uplinkd_update_connstatus() {
    const int link_detection = get_CFG_int(USR_WAN_LINK_DETECT_SW);
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    if (link_detection != 0)
        return 0;

    const connection_verdicts verdicts = judge_connections(wan_mode);
    const uplink *source = uplink_of_mode(wan_mode);
    store_verdict(DI_IFA_MOBILE_CONNSTATUS, verdicts.mobile);
    store_verdict(source != nullptr ? source->connstatus_id : WIRED_UPLINK.connstatus_id,
                  verdicts.wan);
    return 0;
}
