// uplinkctl names: the tables as text, a row a line, a tab between two columns.
#include "base/packed_texts.h"
#include "platform/bus.h"
#include "tools/cli.h"
#include "tools/names.h"
#include "tools/output.h"
#include "tools/uplinkctl.h"
#include "wan/flags.h"
#include "wan/modes.h"

using namespace names;

static constexpr char WRITERS[] = "router\0daemon\0client\0shared";
static constexpr char DIRECTIONS[] = "received\0sent\0both";

using output::print;

static void print_items() {
    for (int wan_index = 0; wan_index <= MAX_RECORD_INDEX; wan_index++) {
        item_row row;
        for (size_t i = 0; item_at(i, row); i++) {
            if (wan_index > 0 && !is_of_wired_wan(row.id))
                continue;
            const int id = wan_index == 0 ? row.id : wired_item(row.id, wan_index);
            print("%d\t%s\t%s\t%s\n", id, of_item(id).c_str(),
                  nth_text(WRITERS, static_cast<size_t>(row.writer)), row.meaning);
        }
    }
}

static void print_messages() {
    message_row row;
    for (size_t i = 0; message_at(i, row); i++)
        print("0x%04X\t%s\t%s\t%s\t%s\n", static_cast<unsigned>(row.id), of_message(row.id).c_str(),
              nth_text(DIRECTIONS, static_cast<size_t>(row.direction)), row.peers, row.meaning);
}

static void print_applications() {
#define ROW(constant, id, role) print("%d\t%s\t%s\n", id, get_app_name_by_id(id), role);
    UPLINKD_APPLICATIONS(ROW)
#undef ROW
}

static void print_flags() {
#define ROW(constant, name, meaning) print("%s\t%s\n", name, meaning);
    UPLINKD_FLAGS(ROW)
#undef ROW
}

int print_names(operands given) {
    constexpr struct {
        std::string_view kind;
        void (*print_all)();
    } KINDS[] = {{"items", print_items},
                 {"messages", print_messages},
                 {"applications", print_applications},
                 {"flags", print_flags}};
    for (const auto &[kind, print_all] : KINDS) {
        if (kind != given[0])
            continue;
        print_all();
        return output::flush();
    }
    return wrong_operands();
}
