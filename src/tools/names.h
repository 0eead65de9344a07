// What items, messages, applications and flags are called: the daemon's own tables, read for
// people.
//
// A short name is the constant's without what all of its kind begin with: DI_IFA_WIRED_WAN_IP is
// WIRED_WAN_IP, UPLINKD_MSG_ID_WAN_SETUP_COMPLETED is WAN_SETUP_COMPLETED. The items of wired WAN 2
// end in _2. Both forms are understood, in any case of letters.
#pragma once

#include "base/messages.h"
#include "base/text.h"
#include "wan/items.h"

namespace names {

using name_text = text<40>;

// The short name of an item, a message or an application; empty where it has none.
name_text of_item(int id);
name_text of_message(int id);
name_text of_application(int id);

// "NUMBER (NAME)", or the number alone; messages in hexadecimal.
using labelled = text<64>;
labelled item_label(int id);
labelled message_label(int id);
labelled application_label(int id);

// A number (decimal; a message's also 0x...) or a name; false for anything else. Applications count
// from 1.
bool parse_item(const char *text, int &id);
bool parse_message(const char *text, int &id);
bool parse_application(const char *text, int &id);

struct item_row {
    int id;
    item_writer writer;
    const char *constant, *meaning;
};

// Whether an item of index 0 has its like for the additional wired WANs.
constexpr bool is_of_wired_wan(int id) {
    return id / 100 == 2011 && id != DI_IFA_WIRED_WAN_MAC && id != DI_IFA_WIRED_WAN_CONNSTATUS &&
           id != DI_IFA_WAN_PRIORITY;
}

// The row at a place of the table, which has those of index 0; false behind the last.
bool item_at(size_t position, item_row &row);

// The row that tells of an item, also of an additional wired WAN's, and the index of that WAN;
// false for an item that the daemon does not know.
bool find_item(int id, item_row &row, int &wan_index);

struct message_row {
    int id;
    message_direction direction;
    const char *constant, *peers, *meaning;
};

// The same for messages.
bool message_at(size_t position, message_row &row);

} // namespace names
