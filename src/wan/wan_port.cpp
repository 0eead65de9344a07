#include "wan/wan_port.h"

#include "base/text.h"
#include "wan/items.h"

static constexpr int DEFAULT_WAN_PORT = 3;

size_t wan_port() {
    const char digit = item_text<2>(DI_WAN_PORT_INDEX).chars[0];
    return static_cast<size_t>(digit >= '0' && digit < '0' + PORT_COUNT ? digit - '0'
                                                                        : DEFAULT_WAN_PORT);
}

port_states read_port_states() {
    text<32> list = item_text<32>(DI_PORT_STATUS_LIST);
    if (list.empty())
        list = {"-1,-1,-1,-1,-1,-1,-1,-1"};
    port_states states = {};
    const char *rest = list.c_str();
    for (int &state : states) {
        char *end;
        const int number = to_int(rest, &end);
        if (end == rest)
            break;
        state = number;
        if (*end != ',')
            break;
        rest = end + 1;
    }
    return states;
}
