/* A platform layer in C11 to begin a port with: every function of src/platform/ in its smallest form.
 * As it stands it stores nothing, sends nowhere and knows no interface, and says so by its results. */
#include "platform/bus.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/flag_store.h"
#include "platform/log.h"
#include "platform/network.h"
#include "platform/system.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

/* Without a value a reader gets the empty text, also in a buffer that held something. */
static int no_value(char *buffer, int size) {
    if (buffer != NULL && size > 0)
        buffer[0] = '\0';
    errno = ENOENT;
    return -1;
}

static int not_done(void) {
    errno = ENOSYS;
    return -1;
}

int cfg_get_item(const char *key, char *buffer, int size) {
    (void)key;
    return no_value(buffer, size);
}

int get_CFG_int(const char *key) {
    char value[64];
    cfg_get_item(key, value, sizeof value);
    return (int)strtol(value, NULL, 10);
}

int get_devinfo_value_by_id(int id, char *buffer, int size) {
    (void)id;
    return no_value(buffer, size);
}

int set_devinfo_value_by_id(int id, const char *value, int length) {
    (void)id, (void)value, (void)length;
    return not_done();
}

int flag_set(const char *name, const char *value) {
    (void)name, (void)value;
    return not_done();
}

int flag_get_item(const char *name, char *buffer, int size) {
    (void)name;
    return no_value(buffer, size);
}

/* A port keeps HANDLER and calls it for each record, one at a time, on a thread of its own. */
int init_sockmsg(int app_id, sockmsg_handler handler, int reserved) {
    (void)app_id, (void)handler, (void)reserved;
    return not_done();
}

int sockmsg_send_common_msg(int destination, const uplinkd_msg_t *message) {
    (void)destination, (void)message;
    return not_done();
}

int sockmsg_send_broadcast_msg(int sender, const uplinkd_msg_t *message) {
    (void)sender, (void)message;
    return 0; /* nobody has registered */
}

const char *get_app_name_by_id(int app_id) {
    (void)app_id;
    return "unknown";
}

static const char *program = "-";

void init_log_params(const char *identity) {
    program = identity;
}

void reset_libcommlog_level(void) {}

void savelog(int level, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fprintf(stderr, "%s %d ", program, level);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
}

int log_bakup_imediately(const char *reason) {
    (void)reason;
    return not_done();
}

int util_get_2_network_segment_relations4(const char *addr_a, const char *mask_a,
                                          const char *addr_b, const char *mask_b) {
    (void)addr_a, (void)mask_a, (void)addr_b, (void)mask_b;
    return SEGMENT_DISJOINT;
}

int cmd_get_ipv4_address(const char *ifname, char *buffer) {
    (void)ifname;
    return no_value(buffer, IPV4_TEXT_SIZE);
}

int cmd_get_netmask(const char *ifname, char *buffer) {
    (void)ifname;
    return no_value(buffer, IPV4_TEXT_SIZE);
}

int cmd_netdev_get_mac_addr(const char *ifname, unsigned char *buffer) {
    (void)ifname, (void)buffer;
    return not_done();
}

int util_network_get_mac_string(const unsigned char *mac, char *buffer, int size) {
    return snprintf(buffer, (size_t)size, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                    mac[3], mac[4], mac[5]) < size
               ? 0
               : -1;
}

int system_by_root(const char *command) {
    (void)command;
    return not_done();
}

int util_does_system_opt_reboot(const char *reason) {
    (void)reason;
    return not_done();
}
