/*
 * An intrusion-prevention daemon, as small as one can be: the other side of kqutm/ips.h, written from kqutm/daemon.h
 * alone. It keeps its state in memory, and serves until it is told to stop.
 */
#include <kqutm/daemon.h>

#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#define MAX_RULES 4
#define REFUSED 1

struct rule_list {
    char rules[MAX_RULES][11];
    int count;
};

static struct {
    uint32_t on;
    uint32_t debug;
    struct rule_list whitelist;
    struct rule_list blacklist;
} state;

/* The daemon defines the actions: here 0 puts a rule on the list, and 1 takes it off. */
static int32_t change(struct rule_list* list, const struct utm_ips_message* request)
{
    char rule[sizeof list->rules[0]] = "";
    int at = 0;

    memcpy(rule, request->rule_id, sizeof rule - 1); /* a client may leave the terminator out */
    while (at < list->count && strcmp(list->rules[at], rule) != 0)
        at++;
    if (at == (request->list_action == 0 ? MAX_RULES : list->count))
        return REFUSED;
    if (request->list_action != 0)
        memmove(list->rules[at], list->rules[at + 1], sizeof rule * (size_t)(--list->count - at));
    else if (at == list->count)
        memcpy(list->rules[list->count++], rule, sizeof rule);
    return 0;
}

static void flush(uint32_t mode)
{
    if (mode != 2)
        state.whitelist.count = 0;
    if (mode != 1)
        state.blacklist.count = 0;
}

static int32_t load_signature(const struct utm_ips_message* request)
{
    char path[sizeof request->signature_path + 1] = "";

    memcpy(path, request->signature_path, sizeof request->signature_path);
    return access(path, R_OK) == 0 ? 0 : REFUSED;
}

/* Changes the state as the request wants it, and fills in the reply. */
static void obey(const struct utm_ips_message* request, struct utm_ips_message* reply)
{
    switch (request->code) {
    case UTM_IPS_ACTIVATE:
        state.on = request->on;
        break;
    case UTM_IPS_SHOW_STATUS:
        reply->on = state.on;
        reply->debug = state.debug;
        break;
    case UTM_IPS_SET_WHITELIST:
        reply->result = change(&state.whitelist, request);
        break;
    case UTM_IPS_SET_BLACKLIST:
        reply->result = change(&state.blacklist, request);
        break;
    case UTM_IPS_UPDATE_SIGNATURE:
        reply->result = load_signature(request);
        break;
    case UTM_IPS_DEBUG:
        state.debug = request->debug;
        break;
    case UTM_IPS_RESET:
        memset(&state, 0, sizeof state);
        break;
    case UTM_IPS_FLUSH:
        flush(request->flush_mode);
        break;
    default:
        reply->result = REFUSED;
    }
}

static int answer(int client, const struct utm_ips_message* reply)
{
    return send(client, reply, sizeof *reply, MSG_NOSIGNAL) == (ssize_t)sizeof *reply;
}

static int answer_rules(int client, const struct rule_list* list)
{
    for (int i = 0; i < list->count; i++) {
        struct utm_ips_message entry = {.code = UTM_IPS_SHOW_CUSTOMIZELIST, .result = UTM_IPS_LIST_ENTRY};

        memcpy(entry.rule_name, list->rules[i], sizeof list->rules[i]);
        if (!answer(client, &entry))
            return 0;
    }
    return 1;
}

static void serve(int client)
{
    const struct timeval patience = {.tv_sec = 2}; /* for a silent client: the others wait until it is served */
    struct utm_ips_message request;

    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (recv(client, &request, sizeof request, MSG_WAITALL) != (ssize_t)sizeof request)
        return;
    struct utm_ips_message reply = {.code = request.code};
    if (request.code == UTM_IPS_SHOW_CUSTOMIZELIST) {
        if (!answer_rules(client, &state.whitelist) || !answer_rules(client, &state.blacklist))
            return;
        reply.result =
            state.whitelist.count + state.blacklist.count == 2 * MAX_RULES ? UTM_IPS_LIST_FULL : UTM_IPS_LIST_END;
    } else {
        obey(&request, &reply);
    }
    answer(client, &reply);
}

int main(void)
{
    int listener = ips_create_server_socket();

    if (listener < 0) {
        perror(UTM_IPS_SOCKET);
        return 1;
    }
    puts("Listening at " UTM_IPS_SOCKET ".");
    fflush(stdout);
    for (int client; (client = accept(listener, NULL, NULL)) >= 0; close(client))
        serve(client);
    perror("accept");
    return 1;
}
