/* SPDX-License-Identifier: Apache-2.0 */
#include "kit.h"
#include "agent/commands.h"

#include <last_result.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

struct kit_options kit_options;

/* ---- the agent ---- */

static GPid agent;
static int agent_input = -1; /* the agent ends when this pipe is closed, also if the kit is killed */

bool kit_start_agent(void)
{
    if (!kit_options.agent_program || agent)
        return true;
    char **arguments = NULL;
    int output = -1;
    GError *error = NULL;
    if (!g_shell_parse_argv(kit_options.agent_program, NULL, &arguments, &error) ||
        !g_spawn_async_with_pipes(NULL, arguments, NULL, G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH, NULL, NULL,
                                  &agent, &agent_input, &output, NULL, &error)) {
        g_test_fail_printf("cannot start the agent '%s': %s", kit_options.agent_program, error->message);
        g_error_free(error);
        g_strfreev(arguments);
        return false;
    }
    g_strfreev(arguments);
    /* The agent writes one line when it accepts connections. */
    char line[64];
    const ssize_t length = read(output, line, sizeof line);
    close(output);
    if (length > 0 && memchr(line, '\n', (size_t)length))
        return true;
    g_test_fail_printf("the agent '%s' ended, or wrote no line \"ready\"", kit_options.agent_program);
    kit_stop_agent();
    return false;
}

bool kit_stop_agent(void)
{
    if (!kit_options.agent_program) {
        g_test_skip("needs --agent-program");
        return false;
    }
    if (!agent)
        return true;
    kill(agent, SIGKILL);
    waitpid(agent, NULL, 0);
    g_spawn_close_pid(agent);
    close(agent_input);
    agent = 0;
    return true;
}

/* ---- a connection ---- */

static struct kit_link *reported(void *data, const char *endpoint, const char *port_name)
{
    struct kit_link *link = data;
    ++link->reports;
    link->is_own_thread = link->is_own_thread && g_thread_self() == link->thread;
    g_assert_cmpstr(endpoint, ==, kit_options.agent_id);
    g_assert_cmpstr(port_name, ==, kit_options.port_name);
    return link;
}

static void on_connected(const char *endpoint, const char *port_name, rpc_port_h port, void *data)
{
    struct kit_link *link = reported(data, endpoint, port_name);
    link->is_connected = true;
    link->reported_port = port;
}

static void on_disconnected(const char *endpoint, const char *port_name, void *data)
{
    struct kit_link *link = reported(data, endpoint, port_name);
    link->is_disconnected = true;
    ++link->disconnections;
}

static void on_rejected(const char *endpoint, const char *port_name, void *data)
{
    struct kit_link *link = reported(data, endpoint, port_name);
    link->last_result = get_last_result();
    link->is_rejected = true;
}

static void on_received(const char *endpoint, const char *port_name, void *data)
{
    struct kit_link *link = reported(data, endpoint, port_name);
    rpc_port_parcel_h parcel = NULL;
    int number = -1;
    if (rpc_port_parcel_create_from_port(&parcel, link->callback_port) != 0) {
        g_test_fail_printf("event %d cannot be read, although 'received' was raised for it", link->events);
        return;
    }
    g_assert_cmpint(rpc_port_parcel_read_int32(parcel, &number), ==, 0);
    rpc_port_parcel_destroy(parcel);
    link->in_order = link->in_order && number == link->next_event;
    ++link->next_event;
    ++link->events;
}

bool kit_link_create(struct kit_link *link)
{
    *link = (struct kit_link){.in_order = true, .is_own_thread = true, .thread = g_thread_self()};
    if (rpc_port_proxy_create(&link->proxy) != 0 || !link->proxy) {
        g_test_fail_printf("rpc_port_proxy_create failed");
        return false;
    }
    g_assert_cmpint(rpc_port_proxy_add_connected_event_cb(link->proxy, on_connected, link), ==, 0);
    g_assert_cmpint(rpc_port_proxy_add_disconnected_event_cb(link->proxy, on_disconnected, link), ==, 0);
    g_assert_cmpint(rpc_port_proxy_add_rejected_event_cb(link->proxy, on_rejected, link), ==, 0);
    g_assert_cmpint(rpc_port_proxy_add_received_event_cb(link->proxy, on_received, link), ==, 0);
    return true;
}

bool kit_link_open(struct kit_link *link)
{
    *link = (struct kit_link){0};
    if (!kit_start_agent() || !kit_link_create(link))
        return false;
    const int result = rpc_port_proxy_connect(link->proxy, kit_options.agent_id, kit_options.port_name);
    if (result != 0)
        g_test_fail_printf("rpc_port_proxy_connect returned %d", result);
    else if (kit_wait(&link->is_connected, "callback 'connected'") &&
             rpc_port_proxy_get_port(link->proxy, RPC_PORT_PORT_MAIN, &link->main_port) == 0 &&
             rpc_port_proxy_get_port(link->proxy, RPC_PORT_PORT_CALLBACK, &link->callback_port) == 0)
        return true;
    g_test_fail_printf("the proxy has no ports");
    kit_link_close(link);
    return false;
}

void kit_link_close(struct kit_link *link)
{
    if (link->proxy)
        g_assert_cmpint(rpc_port_proxy_destroy(link->proxy), ==, 0);
    link->proxy = NULL;
}

/* ---- requests ---- */

int kit_send(struct kit_link *link, int command, int argument)
{
    rpc_port_parcel_h request = NULL;
    g_assert_cmpint(rpc_port_parcel_create(&request), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_int32(request, command), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_int32(request, argument), ==, 0);
    const int result = rpc_port_parcel_send(request, link->main_port);
    g_assert_cmpint(rpc_port_parcel_destroy(request), ==, 0);
    return result;
}

rpc_port_parcel_h kit_read(struct kit_link *link)
{
    rpc_port_parcel_h reply = NULL;
    const int result = rpc_port_parcel_create_from_port(&reply, link->main_port);
    if (result == 0 && reply)
        return reply;
    g_test_fail_printf("rpc_port_parcel_create_from_port returned %d instead of a reply", result);
    return NULL;
}

bool kit_command(struct kit_link *link, int command, int argument)
{
    const int result = kit_send(link, command, argument);
    if (result != 0) {
        g_test_fail_printf("rpc_port_parcel_send returned %d", result);
        return false;
    }
    rpc_port_parcel_h reply = kit_read(link);
    int number = -1;
    if (reply) {
        g_assert_cmpint(rpc_port_parcel_read_int32(reply, &number), ==, 0);
        g_assert_cmpint(rpc_port_parcel_destroy(reply), ==, 0);
    }
    g_assert_cmpint(number, ==, command);
    return number == command;
}
