/* SPDX-License-Identifier: Apache-2.0 */
/* The destruction of a proxy at each moment at which the library may destroy it. */
#include "agent/commands.h"
#include "kit.h"

struct victim {
    rpc_port_proxy_h proxy;
    bool is_destroyed;
    int later_reports; /* callbacks that ran after the destruction */
};

/* The callback under check: it destroys the proxy, then uses its strings. */
static void destroy_now(struct victim *victim, const char *endpoint, const char *port_name)
{
    if (victim->is_destroyed) {
        ++victim->later_reports;
        return;
    }
    g_assert_cmpint(rpc_port_proxy_destroy(victim->proxy), ==, 0);
    victim->is_destroyed = true;
    g_assert_cmpstr(endpoint, ==, kit_options.agent_id);
    g_assert_cmpstr(port_name, ==, kit_options.port_name);
}

static void on_connected(const char *endpoint, const char *port_name, rpc_port_h port, void *data)
{
    (void)port;
    destroy_now(data, endpoint, port_name);
}

static void on_report(const char *endpoint, const char *port_name, void *data)
{
    destroy_now(data, endpoint, port_name);
}

static void finish(struct victim *victim)
{
    if (!kit_wait(&victim->is_destroyed, "the callback that destroys the proxy"))
        rpc_port_proxy_destroy(victim->proxy);
    kit_run_loop(100);
    g_assert_cmpint(victim->later_reports, ==, 0);
}

static bool create(struct victim *victim)
{
    *victim = (struct victim){NULL, false, 0};
    g_assert_cmpint(rpc_port_proxy_create(&victim->proxy), ==, 0);
    return victim->proxy != NULL;
}

static bool connect_victim(struct victim *victim)
{
    return rpc_port_proxy_connect(victim->proxy, kit_options.agent_id, kit_options.port_name) == 0;
}

static void can_be_destroyed_in_connected(void)
{
    struct victim victim;
    if (!kit_start_agent() || !create(&victim))
        return;
    g_assert_cmpint(rpc_port_proxy_add_connected_event_cb(victim.proxy, on_connected, &victim), ==, 0);
    g_assert_cmpint(rpc_port_proxy_add_disconnected_event_cb(victim.proxy, on_report, &victim), ==, 0);
    g_assert_true(connect_victim(&victim));
    finish(&victim);
}

static void can_be_destroyed_in_rejected(void)
{
    struct kit_link first;
    struct victim victim;
    if (!kit_link_open(&first))
        return;
    if (kit_command(&first, KIT_REFUSE, 0) && create(&victim)) {
        g_assert_cmpint(rpc_port_proxy_add_rejected_event_cb(victim.proxy, on_report, &victim), ==, 0);
        g_assert_true(connect_victim(&victim));
        finish(&victim);
    }
    kit_link_close(&first);
}

static void on_connected_only(const char *endpoint, const char *port_name, rpc_port_h port, void *data)
{
    (void)endpoint;
    (void)port_name;
    (void)port;
    *(bool *)data = true;
}

/* Connects a proxy whose last callback destroys it, and sends a command that makes the agent cause that callback. */
static void destroyed_by(int command, int argument,
                         int (*add)(rpc_port_proxy_h, rpc_port_proxy_received_event_cb, void *))
{
    struct victim victim;
    bool is_connected = false;
    if (!kit_start_agent() || !create(&victim))
        return;
    g_assert_cmpint(rpc_port_proxy_add_connected_event_cb(victim.proxy, on_connected_only, &is_connected), ==, 0);
    g_assert_cmpint(add(victim.proxy, on_report, &victim), ==, 0);
    struct kit_link link = {0};
    if (!connect_victim(&victim) || !kit_wait(&is_connected, "callback 'connected'") ||
        rpc_port_proxy_get_port(victim.proxy, RPC_PORT_PORT_MAIN, &link.main_port) != 0) {
        g_test_fail_printf("no connection");
        rpc_port_proxy_destroy(victim.proxy);
        return;
    }
    g_assert_cmpint(kit_send(&link, command, argument), ==, 0);
    finish(&victim);
}

static void can_be_destroyed_in_disconnected(void)
{
    destroyed_by(KIT_CLOSE, 0, rpc_port_proxy_add_disconnected_event_cb);
}

static void can_be_destroyed_in_received(void)
{
    destroyed_by(KIT_EVENTS, 100, rpc_port_proxy_add_received_event_cb);
}

static void can_be_destroyed_at_once(void)
{
    struct kit_link link;
    if (!kit_start_agent() || !kit_link_create(&link))
        return;
    kit_link_close(&link); /* never connected */
    if (!kit_link_create(&link))
        return;
    g_assert_cmpint(rpc_port_proxy_connect(link.proxy, kit_options.agent_id, kit_options.port_name), ==, 0);
    kit_link_close(&link);
    kit_run_loop(200);
    g_assert_cmpint(link.reports, ==, 0);
}

static void can_be_destroyed_with_events_in_its_queue(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    g_assert_true(kit_command(&link, KIT_EVENTS, 1000));
    const int reports = link.reports;
    kit_link_close(&link);
    kit_run_loop(100);
    g_assert_cmpint(link.reports, ==, reports);
}

void kit_add_destruction_checks(void)
{
    kit_add("/destruction/in-connected", can_be_destroyed_in_connected);
    kit_add("/destruction/in-rejected", can_be_destroyed_in_rejected);
    kit_add("/destruction/in-disconnected", can_be_destroyed_in_disconnected);
    kit_add("/destruction/in-received", can_be_destroyed_in_received);
    kit_add("/destruction/while-connecting", can_be_destroyed_at_once);
    kit_add("/destruction/with-queued-events", can_be_destroyed_with_events_in_its_queue);
}
