// Any records, on any settings and items, through the dispatcher: it returns, changes nothing in a
// record, says who has sent what, does nothing about IDs that it does not know, and runs only whole
// batches. The daemon keeps its life from one input to the next, so a fault may need the inputs
// before it as well.
#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "base/messages.h"
#include "daemon/dispatch.h"
#include "fuzz.h"
#include "memory_platform.h"
#include "wan/items.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"

static const std::string BATCH = "/tmp/.tmp_uplinkd_script", SCRIPT = "/etc/ebscript/";
static const std::string RUN = "root chmod 777 " + BATCH + " && " + BATCH + " >/dev/null 2>&1";

#define NUMBER(name, number, ...) number,
static constexpr int ITEMS[] = {UPLINKD_ITEMS(NUMBER)};
static constexpr int MESSAGES[] = {UPLINKD_MESSAGES(NUMBER)};
static constexpr int SENT[] = {LINKPROBE_MSG_ID_WAN_LINK_BROKEN, UIS_MSG_ID_MIX_MODE_CALL,
                               TEXTMSG_MSG_ID_MIX_MODE_NOTICE, PFILTERD_MSG_ID_WAN_CHANGED};
#undef NUMBER
#define KEY(key, ...) #key,
static constexpr const char *KEYS[] = {UPLINKD_SETTINGS(KEY)};
#undef KEY

static bool is_received(int id) {
    return std::count(std::begin(MESSAGES), std::end(MESSAGES), id) > 0 &&
           std::count(std::begin(SENT), std::end(SENT), id) == 0;
}

static void look_at(const std::string &call) {
    if (call == RUN) {
        const std::string batch = file_text(BATCH);
        const std::string owner = batch.substr(13, batch.find('\n') - 13);
        DEMAND(batch.starts_with("# rewrite by uplinkd_process_"), batch);
        DEMAND(batch.ends_with("\n# executed by " + owner + "\n"), batch);
        DEMAND(batch.find("\n# ") == batch.rfind("\n# "), batch);
        return;
    }
    if (call.starts_with("shell ")) {
        DEMAND(call == "shell " + SCRIPT + "wan_mode_setting.sh set" ||
                   call == "shell " + SCRIPT + "wan_mode_setting.sh reset",
               call);
        return;
    }
    DEMAND(!call.starts_with("root ") && !call.starts_with("register "), call);
    DEMAND(!call.starts_with("log ") || call.find(" ?:") == call.npos, call);
}

static std::string take_value(FuzzedDataProvider &input) {
    if (input.ConsumeBool())
        return std::to_string(input.ConsumeIntegralInRange(-2, 12));
    return input.ConsumeBool()
               ? input.PickValueInArray({"eth1", "dhcp", "static", "linkppp", "ipv4v6", "IPV6",
                                         "0,0,0,1", "0,0,0,0", "10.0.0.1", "255.0.0.0", "a b'"})
               : take_text(input, 70);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    memory::on_call = look_at;
    memory::on_sleep = [](unsigned seconds) {
        if (seconds == 1) // the notice timer: it never gets to its end
            pause();
    };
    const std::string port = std::to_string(input.ConsumeIntegralInRange(0, 1));
    memory::items = {{std::to_string(DI_PORT_STATUS_LIST), "0,0,0," + port}};
    memory::settings = {
        {USR_WAN_MODE, std::to_string(input.ConsumeIntegralInRange(0, 8))},
        {USR_WAN_COMMUNICATION_PRIORITY_STRATEGY, input.ConsumeBool() ? "0" : "1"}};
    for (int i = 0; i < 60 && input.remaining_bytes() > 0; i++) {
        const std::string idx = "_" + std::to_string(input.ConsumeIntegralInRange(0, 9));
        switch (input.ConsumeIntegralInRange(0, 4)) {
        case 0: memory::settings[input.PickValueInArray(KEYS)] = take_value(input); break;
        case 1: memory::settings[input.PickValueInArray(KEYS) + idx] = take_value(input); break;
        case 2:
            memory::items[std::to_string(wired_item(input.PickValueInArray(ITEMS), idx[1] & 1))] =
                take_value(input);
            break;
        case 3:
            mkdir(SCRIPT.c_str(), 0755);
            input.ConsumeBool() ? put_file(SCRIPT + "wan_mode_setting.sh", "")
                                : void(unlink((SCRIPT + "wan_mode_setting.sh").c_str()));
            memory::bus_result = input.ConsumeIntegralInRange(-1, 0);
            break;
        case 4: {
            uplinkd_msg_t message{};
            message.msg_id = input.ConsumeProbability<float>() < 0.9f
                                 ? input.PickValueInArray(MESSAGES)
                                 : input.ConsumeIntegral<int>();
            message.src_app_id = input.ConsumeIntegral<int>();
            take_text(input, 60).copy(reinterpret_cast<char *>(message.payload), 60);
            const uplinkd_msg_t before = message;
            memory::take(-1);
            const int result = uplinkd_handler_msg(&message);
            char from[64];
            snprintf(from, sizeof from, "[uplinkd_handler_msg] recv msg(0x%04X) from unknown",
                     static_cast<unsigned>(message.msg_id));
            std::string arrival;
            for (const char *start : {"\nlog 0", "\nlog 3"})
                arrival += std::string(start) + " uplinkd_handler_msg: [uplinkd] " + from;
            arrival += "\\n";
            const std::string calls = memory::take(4);
            DEMAND(result == 0 && memcmp(&message, &before, sizeof message) == 0, calls);
            DEMAND(calls.starts_with(arrival), calls);
            DEMAND(calls == arrival || is_received(message.msg_id), calls);
        }
        }
    }
    return 0;
}
