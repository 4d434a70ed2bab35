#include "event/event.h"

#include "common/errno_guard.h"
#include "common/local_socket.h"
#include "common/log.h"

#include <cstdlib>
#include <iterator>
#include <unistd.h>

namespace {

constexpr int connect_attempts = 22;
constexpr useconds_t connect_pause = 100000;
constexpr int sender_patience = 10; // seconds until the answer
constexpr int reader_patience = 2;  // seconds until the first record

struct config_daemon {
    sockaddr_un address;
    socklen_t address_length;
    size_t event_size;
};

// Deliberate: the length covers the family, the path, its terminator and one byte more.
constexpr config_daemon daemon_at(const char* path, size_t event_size)
{
    return {local_address(path), static_cast<socklen_t>(__builtin_strlen(path) + 4), event_size};
}

constexpr config_daemon config_daemons[] = {
    daemon_at(UTM_CF_CONFIG_SOCKET, sizeof(utm_cf_config_event)),
    daemon_at(UTM_APP_CONFIG_SOCKET, sizeof(utm_app_config_event)),
    daemon_at(UTM_USER_PROFILE_SOCKET, sizeof(utm_user_profile_config_event)),
};

// A target that is none of the three leads to a folder, where nobody can listen.
constexpr config_daemon nobody = daemon_at("/", 0);

const config_daemon& find_daemon(int target)
{
    if (target < 0 || target >= static_cast<int>(std::size(config_daemons)))
        return nobody;
    return config_daemons[target];
}

// One connection to a config daemon. Each step logs its own failure, under the name of the operation, and leaves errno
// as it was.
class config_channel {
public:
    config_channel(int target, const char* operation)
        : daemon_(find_daemon(target)), operation_(operation), fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
    }
    config_channel(const config_channel&) = delete;
    config_channel& operator=(const config_channel&) = delete;
    ~config_channel() { close(); }

    bool created() const;
    bool connect(int attempts) const;
    bool send(const void* event) const;
    bool wait_for_answer(int seconds) const;
    // One read: a record that comes in pieces counts as short.
    bool receive(utm_event_response& record) const
    {
        const ssize_t size = read(fd_, &record, sizeof record);
        return size == static_cast<ssize_t>(sizeof record) || refuse_short(size);
    }
    bool refuse(uint8_t status) const;

private:
    bool try_connect() const;
    bool refuse_short(ssize_t size) const;
    [[gnu::cold]] bool fail_with_cause(const char* text) const;
    void close() const;

    const config_daemon& daemon_;
    const char* const operation_;
    const int fd_;
};

bool config_channel::fail_with_cause(const char* text) const
{
    error_text cause(errno);
    utm_log(UTM_APPCF_LOG, text, operation_, cause.c_str());
    return false;
}

bool config_channel::created() const
{
    return fd_ >= 0 || fail_with_cause("[%s]create socket fail: %s\n");
}

bool config_channel::try_connect() const
{
    const auto* address = reinterpret_cast<const sockaddr*>(&daemon_.address);
    return ::connect(fd_, address, daemon_.address_length) == 0 || fail_with_cause("[%s]connect fail: %s\n");
}

// All attempts use the one socket.
bool config_channel::connect(int attempts) const
{
    while (!try_connect()) {
        if (--attempts == 0)
            return false;
        usleep(connect_pause);
    }
    return true;
}

bool config_channel::send(const void* event) const
{
    ssize_t written = write_without_sigpipe(fd_, event, daemon_.event_size);
    if (written == static_cast<ssize_t>(daemon_.event_size))
        return true;
    if (written >= 0)
        errno = EPROTO;
    return fail_with_cause("[%s]write data fail: %s\n");
}

bool config_channel::wait_for_answer(int seconds) const
{
    int ready = wait_readable(fd_, seconds);
    if (ready < 0)
        return fail_with_cause("[%s]select() error, error: %s\n");
    if (ready > 0)
        return true;
    utm_log(UTM_APPCF_LOG, "[%s]select() timeout\n", operation_);
    errno = ETIMEDOUT;
    return false;
}

bool config_channel::refuse_short(ssize_t size) const
{
    if (size >= 0)
        errno = size == 0 ? ENODATA : EPROTO;
    utm_log(UTM_APPCF_LOG, "[%s]read response fail\n", operation_);
    return false;
}

bool config_channel::refuse(uint8_t status) const
{
    utm_log(UTM_APPCF_LOG, "[%s]error code = %d\n", operation_, status);
    errno = EREMOTEIO;
    return false;
}

void config_channel::close() const
{
    // Deliberate: a socket that got descriptor 0 stays open.
    if (fd_ <= 0)
        return;
    errno_guard keep;
    ::close(fd_);
}

bool send_and_judge(const config_channel& channel, const void* event)
{
    utm_event_response answer;
    if (!channel.created() || !channel.connect(connect_attempts) || !channel.send(event) ||
        !channel.wait_for_answer(sender_patience) || !channel.receive(answer))
        return false;
    // Deliberate: UTM_RESPONSE_MORE is an error code here; the sender collects no list.
    return answer.status == UTM_RESPONSE_OK || channel.refuse(answer.status);
}

// Each record replaces the one before; the first alone has a time limit.
bool receive_all(const config_channel& channel, utm_event_response& record, response_list& list)
{
    if (!channel.wait_for_answer(reader_patience))
        return false;
    for (;;) {
        if (!channel.receive(record))
            return false;
        if (record.status == UTM_RESPONSE_OK)
            return true;
        if (record.status != UTM_RESPONSE_MORE)
            return channel.refuse(record.status);
        if (!list.append(record))
            return false;
    }
}

utm_event_response* create_response(const char* operation)
{
    auto* response = static_cast<utm_event_response*>(malloc(sizeof(utm_event_response)));
    if (response == nullptr) {
        utm_log(UTM_APPCF_LOG, "[%s]response malloc fail\n", operation);
        return nullptr;
    }
    response->app_usage_list = nullptr;
    response->prev_days_list = nullptr;
    response->weekday_limit_list = nullptr;
    response->domain_browse_list = nullptr;
    return response;
}

} // namespace

UTM_API int send_utm_config_event(const void* event, int target)
{
    if (event == nullptr)
        return fail(EINVAL);
    config_channel channel(target, __func__);
    return send_and_judge(channel, event) ? 0 : -1;
}

UTM_API utm_event_response* send_utm_event_and_get_response(const void* event, int target)
{
    if (event == nullptr)
        return fail_with_null(EINVAL);
    config_channel channel(target, __func__);
    if (!channel.created() || !channel.connect(1) || !channel.send(event))
        return nullptr;
    // Deliberate: from here on a failure abandons the response, and the list collected so far, as they stand.
    utm_event_response* response = create_response(__func__);
    if (response == nullptr)
        return nullptr;
    response_list list(target, *static_cast<const uint8_t*>(event), __func__);
    if (!list.create_head() || !receive_all(channel, *response, list))
        return nullptr; // NOLINT(clang-analyzer-unix.Malloc): the response is abandoned on purpose, as told above.
    list.hand_over(*response);
    return response;
}
