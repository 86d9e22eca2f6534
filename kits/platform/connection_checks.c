/* SPDX-License-Identifier: Apache-2.0 */
/* Connecting: accepted, refused, without an agent, and many times. */
#include "agent/commands.h"
#include "kit.h"

static void reports_the_connection_from_the_main_loop(void)
{
    struct kit_link link;
    if (!kit_start_agent() || !kit_link_create(&link))
        return;
    g_assert_cmpint(rpc_port_proxy_connect(link.proxy, kit_options.agent_id, kit_options.port_name), ==, 0);
    g_assert_cmpint(link.reports, ==, 0);
    if (kit_wait(&link.is_connected, "callback 'connected'")) {
        rpc_port_h main_port = NULL;
        rpc_port_h callback_port = NULL;
        g_assert_cmpint(rpc_port_proxy_get_port(link.proxy, RPC_PORT_PORT_MAIN, &main_port), ==, 0);
        g_assert_cmpint(rpc_port_proxy_get_port(link.proxy, RPC_PORT_PORT_CALLBACK, &callback_port), ==, 0);
        g_assert_true(link.reported_port == main_port);
        g_assert_true(main_port != callback_port);
        g_assert_true(link.is_own_thread);
    }
    kit_run_loop(50);
    g_assert_cmpint(link.reports, ==, 1);
    kit_link_close(&link);
}

static void has_no_port_before_the_connection(void)
{
    struct kit_link link;
    if (!kit_link_create(&link))
        return;
    rpc_port_h port = NULL;
    g_assert_cmpint(rpc_port_proxy_get_port(link.proxy, RPC_PORT_PORT_MAIN, &port), <, 0);
    g_assert_cmpint(rpc_port_proxy_get_port(link.proxy, RPC_PORT_PORT_CALLBACK, &port), <, 0);
    kit_link_close(&link);
}

static void reports_a_refusal(void)
{
    struct kit_link first;
    if (!kit_link_open(&first))
        return;
    struct kit_link refused = {0};
    if (kit_command(&first, KIT_REFUSE, 0) && kit_link_create(&refused)) {
        g_assert_cmpint(rpc_port_proxy_connect(refused.proxy, kit_options.agent_id, kit_options.port_name), ==, 0);
        if (kit_wait(&refused.is_rejected, "callback 'rejected'"))
            g_assert_cmpint(refused.last_result, ==, -13);
        kit_run_loop(50);
        g_assert_cmpint(refused.reports, ==, 1);
        kit_link_close(&refused);
    }
    g_assert_true(kit_command(&first, KIT_PING, 0));
    kit_link_close(&first);
}

/* The call fails, or 'rejected' is raised with a failed link. */
static void reports_a_missing_agent(void)
{
    struct kit_link link;
    if (!kit_stop_agent() || !kit_link_create(&link))
        return;
    const int result = rpc_port_proxy_connect(link.proxy, kit_options.agent_id, kit_options.port_name);
    g_assert_cmpint(link.reports, ==, 0);
    if (result == 0 && kit_wait(&link.is_rejected, "callback 'rejected'"))
        g_assert_cmpint(link.last_result, ==, -5);
    kit_run_loop(50);
    g_assert_false(link.is_connected);
    g_assert_cmpint(link.reports, ==, result == 0 ? 1 : 0);
    kit_link_close(&link);
}

static void serves_two_proxies_at_once(void)
{
    struct kit_link links[2];
    if (!kit_link_open(&links[0]))
        return;
    if (kit_link_open(&links[1])) {
        g_assert_true(kit_command(&links[0], KIT_EVENTS, 3));
        g_assert_true(kit_command(&links[1], KIT_EVENTS, 5));
        kit_wait_count(&links[0].events, 3, "events of the first proxy");
        kit_wait_count(&links[1].events, 5, "events of the second proxy");
        kit_run_loop(50);
        g_assert_cmpint(links[0].events, ==, 3);
        g_assert_cmpint(links[1].events, ==, 5);
        kit_link_close(&links[0]);
        g_assert_true(kit_command(&links[1], KIT_PING, 0));
        g_assert_false(links[1].is_disconnected);
        kit_link_close(&links[1]);
    }
    kit_link_close(&links[0]);
}

/* -1 where the system has no such directory. */
static int open_descriptors(void)
{
    GDir *directory = g_dir_open("/proc/self/fd", 0, NULL);
    if (!directory)
        return -1;
    int count = 0;
    while (g_dir_read_name(directory))
        ++count;
    g_dir_close(directory);
    return count;
}

static void connects_many_times(void)
{
    struct kit_link link;
    if (!kit_link_open(&link)) /* what is opened once */
        return;
    kit_link_close(&link);
    kit_run_loop(50);
    const int before = open_descriptors();
    for (int i = 0; i < 300; ++i) {
        if (!kit_link_open(&link))
            return;
        g_assert_true(kit_command(&link, KIT_PING, 0));
        kit_link_close(&link);
    }
    kit_run_loop(50);
    g_assert_cmpint(open_descriptors(), ==, before);
}

void kit_add_connection_checks(void)
{
    kit_add("/connection/connected", reports_the_connection_from_the_main_loop);
    kit_add("/connection/no-port-before", has_no_port_before_the_connection);
    kit_add("/connection/refused", reports_a_refusal);
    kit_add("/connection/no-agent", reports_a_missing_agent);
    kit_add("/connection/two-proxies", serves_two_proxies_at_once);
    kit_add("/connection/many-times", connects_many_times);
}
