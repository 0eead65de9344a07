#include "tools/names.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>
#include <strings.h>

#include "base/packed_texts.h"
#include "platform/bus.h"
#include "tools/cli.h"
#include "wan/modes.h"

namespace names {

namespace {

constexpr char ITEM_TEXTS[] =
#define ROW(constant, id, writer, meaning) #constant "\0" meaning "\0"
    UPLINKD_ITEMS(ROW)
#undef ROW
    ;
constexpr struct {
    int id;
    item_writer writer;
} ITEMS[] = {
#define ROW(constant, id, writer, meaning) {id, item_writer::writer},
    UPLINKD_ITEMS(ROW)
#undef ROW
};

constexpr char MESSAGE_TEXTS[] =
#define ROW(constant, id, direction, peers, meaning) #constant "\0" peers "\0" meaning "\0"
    UPLINKD_MESSAGES(ROW)
#undef ROW
    ;
constexpr struct {
    unsigned short id;
    message_direction direction;
} MESSAGES[] = {
#define ROW(constant, id, direction, peers, meaning) {id, message_direction::direction},
    UPLINKD_MESSAGES(ROW)
#undef ROW
};

constexpr int APPLICATIONS[] = {
#define ROW(constant, id, role) id,
    UPLINKD_APPLICATIONS(ROW)
#undef ROW
};

const char *without(const char *prefix, const char *constant) {
    const size_t length = strlen(prefix);
    return strncmp(constant, prefix, length) == 0 ? constant + length : constant;
}

const char *short_item_name(const char *constant) {
    return without("DI_", without("DI_IFA_", constant));
}

const char *short_message_name(const char *constant) {
    // The one name that would be another's without its beginning.
    if (strncmp(constant, "PEER_", 5) == 0)
        return constant;
    for (const char *infix : {"_MSG_ID_", "_MSG_"})
        if (const char *at = strstr(constant, infix))
            return at + strlen(infix);
    return constant;
}

bool is_called(const char *text, const char *constant, const char *short_name) {
    return strcasecmp(text, constant) == 0 || strcasecmp(text, short_name) == 0;
}

labelled label(const char *number, const name_text &name) {
    labelled text;
    snprintf(text.data(), sizeof text.chars, name.empty() ? "%s" : "%s (%s)", number, name.c_str());
    return text;
}

bool find_item_name(const char *name, int &id) {
    item_row row;
    for (size_t i = 0; item_at(i, row); i++) {
        if (is_called(name, row.constant, short_item_name(row.constant))) {
            id = row.id;
            return true;
        }
    }
    return false;
}

} // namespace

bool message_at(size_t position, message_row &row) {
    if (position >= std::size(MESSAGES))
        return false;
    const char *const constant = nth_text(MESSAGE_TEXTS, 3 * position);
    const char *const peers = next_text(constant);
    row = {MESSAGES[position].id, MESSAGES[position].direction, constant, peers, next_text(peers)};
    return true;
}

bool item_at(size_t position, item_row &row) {
    if (position >= std::size(ITEMS))
        return false;
    const char *const constant = nth_text(ITEM_TEXTS, 2 * position);
    row = {ITEMS[position].id, ITEMS[position].writer, constant, next_text(constant)};
    return true;
}

bool find_item(int id, item_row &row, int &wan_index) {
    wan_index = 0;
    const int thousand = id / 1000 - 260;
    if (thousand >= 1 && thousand <= MAX_RECORD_INDEX) {
        wan_index = thousand;
        id = 201100 + id % 1000;
        if (!is_of_wired_wan(id))
            return false;
    }
    for (size_t i = 0; item_at(i, row); i++)
        if (row.id == id)
            return true;
    return false;
}

name_text of_item(int id) {
    item_row row;
    int wan_index = 0;
    name_text name;
    if (find_item(id, row, wan_index))
        snprintf(name.data(), sizeof name.chars, wan_index == 0 ? "%s" : "%s_%d",
                 short_item_name(row.constant), wan_index);
    return name;
}

name_text of_message(int id) {
    message_row row;
    for (size_t i = 0; message_at(i, row); i++)
        if (row.id == id)
            return to_text<40>(short_message_name(row.constant));
    return {};
}

name_text of_application(int id) {
    const name_text name = to_text<40>(get_app_name_by_id(id));
    return strcmp(name.c_str(), "unknown") == 0 ? name_text{} : name;
}

labelled item_label(int id) {
    text<16> number;
    snprintf(number.data(), sizeof number.chars, "%d", id);
    return label(number.c_str(), of_item(id));
}

labelled message_label(int id) {
    text<16> number;
    snprintf(number.data(), sizeof number.chars, "0x%04X", static_cast<unsigned>(id));
    return label(number.c_str(), of_message(id));
}

labelled application_label(int id) {
    text<16> number;
    snprintf(number.data(), sizeof number.chars, "%d", id);
    return label(number.c_str(), of_application(id));
}

bool parse_item(const char *text, int &id) {
    if (cli::parse_decimal(text, id) || find_item_name(text, id))
        return true;
    const size_t length = strlen(text);
    name_text base;
    if (length < 3 || length >= sizeof base.chars || text[length - 2] != '_')
        return false;
    const int wan_index = text[length - 1] - '0';
    memcpy(base.data(), text, length - 2);
    if (wan_index < 1 || wan_index > MAX_RECORD_INDEX || !find_item_name(base.c_str(), id) ||
        !is_of_wired_wan(id))
        return false;
    id = wired_item(id, wan_index);
    return true;
}

bool parse_message(const char *text, int &id) {
    message_row row;
    for (size_t i = 0; message_at(i, row); i++) {
        if (is_called(text, row.constant, short_message_name(row.constant))) {
            id = row.id;
            return true;
        }
    }
    return cli::parse_decimal_or_hex(text, id);
}

bool parse_application(const char *text, int &id) {
    for (const int app_id : APPLICATIONS) {
        if (strcasecmp(text, get_app_name_by_id(app_id)) == 0) {
            id = app_id;
            return true;
        }
    }
    return cli::parse_decimal(text, id) && id > 0;
}

} // namespace names
