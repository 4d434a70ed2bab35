#include "bench/floor.h"

#include "kqutm/app.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/select.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench::floor {

namespace {

int connect_to(int fd, const char* path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, path);
    ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    return fd;
}

void wait_for(int fd)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    timeval limit = {10, 0};
    select(fd + 1, &set, nullptr, nullptr, &limit);
}

int ask(const void* event, size_t size, const char* path)
{
    const int fd = connect_to(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), path);
    (void)!write(fd, event, size);
    return fd;
}

void limit(int fd, int option)
{
    const timeval seconds = {3, 0};
    setsockopt(fd, SOL_SOCKET, option, &seconds, sizeof seconds);
}

template <class Node> void append(Node* node, Node* head)
{
    node->next = head;
    node->prev = head->prev;
    head->prev->next = node;
    head->prev = node;
}

template <class Node> Node* new_list()
{
    auto* head = static_cast<Node*>(malloc(sizeof(Node)));
    head->next = head;
    head->prev = head;
    return head;
}

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;

void change(int semaphore, short by)
{
    sembuf operation = {0, by, SEM_UNDO};
    semop(semaphore, &operation, 1);
}

struct locked {
    int semaphore;
    void* contents;

    locked(int semaphore_project, int segment_project, size_t size)
        : semaphore(semget(ftok(key_file, semaphore_project), 1, 0666))
    {
        change(semaphore, -1);
        contents = shmat(shmget(ftok(key_file, segment_project), size, 0), nullptr, 0);
    }

    void release() const
    {
        shmdt(contents);
        change(semaphore, 1);
    }
};

locked lock_registry()
{
    return {UTM_ID_SEMAPHORE_PROJECT, UTM_ID_SEGMENT_PROJECT, sizeof(utm_id_registry)};
}

uint32_t* find(uint32_t* table, uint32_t value)
{
    return std::find(table, table + UTM_ID_SLOTS, value);
}

utm_id_registry& of(const locked& registry)
{
    return *static_cast<utm_id_registry*>(registry.contents);
}

} // namespace

void config_send(const void* event, size_t size, const char* path)
{
    const int fd = ask(event, size, path);
    wait_for(fd);
    utm_event_response answer;
    (void)!read(fd, &answer, sizeof answer);
    close(fd);
}

void* config_read(const void* event, size_t size, const char* path)
{
    const int fd = ask(event, size, path);
    auto* answer = static_cast<utm_event_response*>(malloc(sizeof(utm_event_response)));
    const bool domains = strcmp(path, UTM_CF_CONFIG_SOCKET) == 0;
    const size_t entry_size = domains ? sizeof(utm_domain_browse_entry) : sizeof(utm_app_usage_entry);
    const size_t links = domains ? offsetof(utm_domain_browse_entry, links) : 0;
    char* head = static_cast<char*>(malloc(entry_size));
    auto* end = reinterpret_cast<utm_list_links*>(head + links);
    end->next = end->prev = end;
    wait_for(fd);
    while (read(fd, answer, sizeof *answer) == sizeof *answer && answer->status == UTM_RESPONSE_MORE) {
        char* entry = static_cast<char*>(malloc(entry_size));
        if (domains) {
            char line[640];
            const int length = snprintf(line, sizeof line, "response->cf.domain_browse->domain: %s", answer->domain);
            log_line(UTM_APPCF_LOG, line, static_cast<size_t>(length));
            memcpy(entry, answer->domain, sizeof answer->domain + sizeof answer->domain_value);
        } else {
            memcpy(entry + 16, answer->app_usage_values, sizeof answer->app_usage_values);
        }
        append(reinterpret_cast<utm_list_links*>(entry + links), end);
    }
    close(fd);
    free(answer);
    return head;
}

void* devices(const char* count)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    limit(fd, SO_RCVTIMEO);
    limit(fd, SO_SNDTIMEO);
    connect_to(fd, UTM_DEVID_SOCKET);
    utm_devid_message message = {.code = UTM_DEVID_GET_DEVICE_LIST};
    strcpy(message.device.interface_name, count);
    send(fd, &message, sizeof message, 0);
    auto* head = new_list<utm_device>();
    while (recv(fd, &message, sizeof message, 0) == sizeof message && message.result != -1) {
        auto* node = static_cast<utm_device*>(malloc(sizeof(utm_device)));
        node->record = message.device;
        append(node, head);
    }
    close(fd);
    return head;
}

void engine_exchange(const char* path, void* record, size_t size, int limits)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    limit(fd, SO_RCVTIMEO);
    if (limits > 1)
        limit(fd, SO_SNDTIMEO);
    connect_to(fd, path);
    send(fd, record, size, 0);
    recv(fd, record, size, 0);
    close(fd);
}

void ir_exchange()
{
    const int fd = connect_to(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0), UTM_IR_SOCKET);
    utm_ir_request request = {};
    request.code = UTM_IR_SET_UPDATE_CHECK_FREQ;
    send(fd, &request, sizeof request, MSG_NOSIGNAL);
    utm_ir_reply reply;
    recv(fd, &reply, sizeof reply, 0);
    close(fd);
}

void check_id(uint32_t id)
{
    const locked registry = lock_registry();
    [[maybe_unused]] const uint32_t* volatile found = find(of(registry).profiles, id); // is looked for in earnest
    registry.release();
}

void reserve_and_release(uint32_t id)
{
    {
        const locked registry = lock_registry();
        uint32_t* table = of(registry).cf_policies;
        if (find(table, id) == table + UTM_ID_SLOTS)
            *find(table, 0) = id;
        registry.release();
    }
    const locked registry = lock_registry();
    for (uint32_t* table : {of(registry).cf_policies, of(registry).app_policies}) {
        uint32_t* const slot = find(table, id);
        if (slot != table + UTM_ID_SLOTS)
            *slot = 0;
    }
    registry.release();
}

void bind(uint32_t profile, uint32_t policy)
{
    check_id(profile);
    check_id(profile);
    const locked registry = lock_registry();
    utm_id_registry& ids = of(registry);
    ids.cf_bindings[find(ids.profiles, profile) - ids.profiles] = policy;
    change(registry.semaphore, 1);
    utm_cf_config_event event = {.code = UTM_CF_BIND_POLICY};
    config_send(&event, sizeof event, UTM_CF_CONFIG_SOCKET);
}

void* mapping()
{
    if (access(UTM_ID_MARKER, F_OK) != 0)
        return nullptr;
    const locked registry = lock_registry();
    const utm_id_registry& ids = of(registry);
    auto* head = new_list<utm_profile_mapping>();
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (ids.profiles[slot] == 0)
            continue;
        auto* node = static_cast<utm_profile_mapping*>(malloc(sizeof(utm_profile_mapping)));
        node->profile_id = static_cast<int32_t>(ids.profiles[slot]);
        node->cf_policy_id = static_cast<int32_t>(ids.cf_bindings[slot]);
        append(node, head);
    }
    registry.release();
    return head;
}

void add_device(uint32_t profile)
{
    check_id(profile);
    utm_cf_config_event cf = {.code = UTM_PROFILE_ADD_DEVICE};
    config_send(&cf, sizeof cf, UTM_CF_CONFIG_SOCKET);
    utm_app_config_event app = {.code = UTM_PROFILE_ADD_DEVICE};
    config_send(&app, sizeof app, UTM_APP_CONFIG_SOCKET);
    utm_user_profile_config_event user_profile = {.code = UTM_PROFILE_ADD_DEVICE};
    config_send(&user_profile, sizeof user_profile, UTM_USER_PROFILE_SOCKET);
}

void get_uuid(char* text)
{
    const locked common(UTM_COMMON_SEMAPHORE_PROJECT, UTM_COMMON_SEGMENT_PROJECT, UTM_UUID_SIZE);
    strcpy(text, static_cast<const char*>(common.contents));
    common.release();
}

void log_line(const char* path, const char* text, size_t size)
{
    struct stat file;
    if (access(path, F_OK) != 0 || stat(path, &file) != 0)
        return;
    const int fd = open(path, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    (void)!write(fd, text, size);
    close(fd);
}

} // namespace bench::floor
