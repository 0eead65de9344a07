#include "state/uplinks.h"

#include <cstring>

#include "platform/devinfo_store.h"

// The sizes differ as the router's other programs know them: the interface name goes without its
// NUL, the other two with it. What is stored is the same.
void record_uplink_up(const uplink &wan) {
    set_devinfo_value_by_id(wan.netstatus, "1", 2);
    set_devinfo_value_by_id(wan.ifname, wan.default_ifname,
                            static_cast<int>(strlen(wan.default_ifname)));
    set_devinfo_value_by_id(wan.type, wan.iface_type, static_cast<int>(strlen(wan.iface_type)) + 1);
}

void record_uplink_down(const uplink &wan) {
    set_devinfo_value_by_id(wan.netstatus, "0", 2);
    set_devinfo_value_by_id(wan.ifname, "", 1);
    set_devinfo_value_by_id(wan.type, "", 1);
}
