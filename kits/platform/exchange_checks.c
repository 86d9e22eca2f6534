/* SPDX-License-Identifier: Apache-2.0 */
/* Requests and replies, and the failure of a request if the connection ends. */
#include "agent/commands.h"
#include "kit.h"

static void replies_in_the_order_of_the_requests(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    for (int i = 0; i < 1000; ++i)
        g_assert_true(kit_command(&link, KIT_PING, i));
    kit_link_close(&link);
}

static void sends_before_it_reads(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    const int commands[] = {KIT_PING, KIT_ECHO, KIT_EVENTS, KIT_PING};
    for (size_t i = 0; i < G_N_ELEMENTS(commands); ++i)
        g_assert_cmpint(kit_send(&link, commands[i], 0), ==, 0);
    for (size_t i = 0; i < G_N_ELEMENTS(commands); ++i) {
        rpc_port_parcel_h reply = kit_read(&link);
        int number = -1;
        if (!reply)
            break;
        g_assert_cmpint(rpc_port_parcel_read_int32(reply, &number), ==, 0);
        g_assert_cmpint(number, ==, commands[i]);
        g_assert_cmpint(rpc_port_parcel_destroy(reply), ==, 0);
    }
    kit_link_close(&link);
}

/* The wait for a reply fails, then 'disconnected' is raised once, and the ports are of no use any more. */
static void expect_end_of_connection(struct kit_link *link)
{
    rpc_port_parcel_h reply = NULL;
    g_assert_cmpint(rpc_port_parcel_create_from_port(&reply, link->main_port), <, 0);
    g_assert_null(reply);
    kit_wait(&link->is_disconnected, "callback 'disconnected'");
    kit_run_loop(50);
    g_assert_cmpint(link->disconnections, ==, 1);
    rpc_port_h port = NULL;
    g_assert_cmpint(rpc_port_proxy_get_port(link->proxy, RPC_PORT_PORT_MAIN, &port), <, 0);
}

static void ended_by(int command, int argument)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    g_assert_cmpint(kit_send(&link, command, argument), ==, 0);
    expect_end_of_connection(&link);
    kit_link_close(&link);
}

static void fails_if_the_agent_closes_the_connection(void)
{
    ended_by(KIT_CLOSE, 0);
}

static void fails_if_the_connection_ends_inside_a_reply(void)
{
    ended_by(KIT_HALF, 0);
}

static void fails_if_a_reply_is_too_large(void)
{
    ended_by(KIT_TOO_LARGE, 0);
}

static void fails_if_the_agent_dies(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    if (kit_stop_agent()) {
        /* The send may still succeed; the read must not wait. */
        kit_send(&link, KIT_PING, 0);
        expect_end_of_connection(&link);
    }
    kit_link_close(&link);
}

static void does_not_wait_after_a_failed_send(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    if (kit_stop_agent()) {
        int attempts = 0;
        while (kit_send(&link, KIT_PING, 0) == 0 && ++attempts < 1000)
            g_usleep(1000);
        g_assert_cmpint(attempts, <, 1000);
        rpc_port_parcel_h reply = NULL;
        g_assert_cmpint(rpc_port_parcel_create_from_port(&reply, link.main_port), <, 0);
    }
    kit_link_close(&link);
}

static void ends_a_wait_for_a_silent_agent(void)
{
    if (kit_options.reply_timeout_ms <= 0) {
        g_test_skip("needs --reply-timeout");
        return;
    }
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    const gint64 start = g_get_monotonic_time();
    g_assert_cmpint(kit_send(&link, KIT_SILENT, 0), ==, 0);
    /* A late reply could be mistaken for the next one, so that the connection must end. */
    expect_end_of_connection(&link);
    g_assert_cmpint((g_get_monotonic_time() - start) / 1000, >=, kit_options.reply_timeout_ms - 1);
    kit_link_close(&link);
}

void kit_add_exchange_checks(void)
{
    kit_add("/exchange/in-order", replies_in_the_order_of_the_requests);
    kit_add("/exchange/send-before-read", sends_before_it_reads);
    kit_add("/exchange/closed", fails_if_the_agent_closes_the_connection);
    kit_add("/exchange/closed-inside-reply", fails_if_the_connection_ends_inside_a_reply);
    kit_add("/exchange/too-large", fails_if_a_reply_is_too_large);
    kit_add("/exchange/agent-dies", fails_if_the_agent_dies);
    kit_add("/exchange/failed-send", does_not_wait_after_a_failed_send);
    kit_add("/exchange/silent-agent", ends_a_wait_for_a_silent_agent);
}
