// Any records, on any settings and items, through the dispatcher: it returns, changes nothing in a
// record, says who has sent what, does nothing about IDs that it does not know, and runs only whole
// batches. The daemon keeps its life from one input to the next, so a fault may need the inputs
// before it as well.
#include <cstring>

#include "base/messages.h"
#include "daemon/dispatch.h"
#include "fuzz.h"
#include "memory_platform.h"
#include "wan/items.h"
#include "wan/setting_keys.h"

#define SCRIPT "/etc/ebscript/wan_mode_setting.sh"
#define BATCH  "/tmp/.tmp_uplinkd_script"

#define NUMBER(name, number, ...) number,
static constexpr int ITEMS[] = {UPLINKD_ITEMS(NUMBER)};
#define KEY(key, ...) #key,
static constexpr const char *KEYS[] = {UPLINKD_SETTINGS(KEY)};
#define MESSAGE(name, number, direction, ...) {number, message_direction::direction},
static constexpr struct {
    int id;
    message_direction direction;
} MESSAGES[] = {UPLINKD_MESSAGES(MESSAGE){0x5311, message_direction::sent}};

static void look_at(const std::string &call) {
    if (call == "root chmod 777 " BATCH " && " BATCH " >/dev/null 2>&1") {
        const std::string text = file_text(BATCH);
        const std::string owner = text.substr(13, text.find('\n') - 13);
        DEMAND(text.starts_with("# rewrite by uplinkd_process_"), text);
        DEMAND(text.find("\n# ") == text.find("\n# executed by " + owner + "\n"), text);
        DEMAND(text.ends_with("\n# executed by " + owner + "\n"), text);
    } else if (call != "shell " SCRIPT " set" && call != "shell " SCRIPT " reset") {
        DEMAND(!call.starts_with("root ") && !call.starts_with("shell "), call);
    }
}

static std::string take_value(FuzzedDataProvider &input) {
    if (input.ConsumeBool())
        return std::to_string(take_number(input, -2, 12));
    return input.ConsumeBool()
               ? input.PickValueInArray({"eth1", "dhcp", "static", "linkppp", "ipv4v6", "IPV6",
                                         "0,0,0,1", "0,0,0,0", "10.0.0.1", "255.0.0.0", "a b'"})
               : take_text(input, 70);
}

static void deliver(FuzzedDataProvider &input) {
    uplinkd_msg_t message{};
    const auto &known = input.PickValueInArray(MESSAGES);
    message.msg_id = take_number(input, 0, 9) > 0 ? known.id : input.ConsumeIntegral<int>();
    message.src_app_id = input.ConsumeIntegral<int>();
    take_text(input, 60).copy(reinterpret_cast<char *>(message.payload), 60);
    const uplinkd_msg_t before = message;
    char from[64];
    snprintf(from, sizeof from, "[uplinkd_handler_msg] recv msg(0x%04X) from unknown",
             static_cast<unsigned>(message.msg_id));
    std::string arrival;
    for (const char *start : {"\nlog 0", "\nlog 3"})
        arrival += std::string(start) + " uplinkd_handler_msg: [uplinkd] " + from;
    memory::take(-1);
    const int result = uplinkd_handler_msg(&message);
    const std::string calls = memory::take(4);
    DEMAND(result == 0 && memcmp(&message, &before, sizeof message) == 0, calls);
    DEMAND(calls.starts_with(arrival), calls);
    if (message.msg_id == known.id && known.direction == message_direction::sent)
        DEMAND(calls == arrival + "\\n", calls);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    memory::on_call = look_at;
    memory::on_sleep = [](unsigned seconds) {
        if (seconds == 1) // the notice timer: it never gets to its end
            pause();
    };
    const std::string link = std::to_string(take_number(input, 0, 1));
    memory::items = {{std::to_string(DI_PORT_STATUS_LIST), "0,0,0," + link}};
    memory::settings = {{USR_WAN_MODE, std::to_string(take_number(input, 0, 8))},
                        {USR_WAN_COMMUNICATION_PRIORITY_STRATEGY, input.ConsumeBool() ? "0" : "1"}};
    for (int i = 0; i < 60 && input.remaining_bytes() > 0; i++) {
        const int idx = take_number(input, 0, 9), item = input.PickValueInArray(ITEMS);
        const std::string key = input.PickValueInArray(KEYS);
        switch (take_number(input, 0, 4)) {
        case 0: memory::settings[key] = take_value(input); break;
        case 1: memory::settings[key + "_" + std::to_string(idx)] = take_value(input); break;
        case 2: memory::items[std::to_string(wired_item(item, idx & 1))] = take_value(input); break;
        case 3: input.ConsumeBool() ? put_file(SCRIPT, "") : void(unlink(SCRIPT)); break;
        default: deliver(input);
        }
    }
    return 0;
}
