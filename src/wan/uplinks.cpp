#include "wan/uplinks.h"

#include <cstring>

#include "platform/devinfo_store.h"

// The lengths count the NUL but for the interface name's; what is stored is the same either way.
void record_uplink_up(const uplink &wan) {
    set_devinfo_value_by_id(wan.items.netstatus_id, "1", 2);
    set_devinfo_value_by_id(wan.items.ifname_id, wan.default_ifname,
                            static_cast<int>(strlen(wan.default_ifname)));
    set_devinfo_value_by_id(wan.items.iface_type_id, wan.iface_type,
                            static_cast<int>(strlen(wan.iface_type)) + 1);
}

void record_uplink_down(const uplink &wan) {
    set_devinfo_value_by_id(wan.items.netstatus_id, "0", 2);
    set_devinfo_value_by_id(wan.items.ifname_id, "", 1);
    set_devinfo_value_by_id(wan.items.iface_type_id, "", 1);
}
