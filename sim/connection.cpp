#include "sim/connection.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace sim {

namespace {

constexpr std::chrono::milliseconds pause_between_pieces(10);

class exchange {
public:
    exchange(int connection, const daemon_parts& parts) : connection_(connection), parts_(parts) {}

    // False: the connection is to be closed.
    bool serve()
    {
        const record request = receive();
        if (request.empty())
            return false;
        const uint32_t code = number_at(request, 0, parts_.kind.code_width);
        if (is_packet() || request.size() == parts_.kind.request_size)
            return answer(request, code, parts_.faults.take(code));
        parts_.trace.write({parts_.kind.name, code, parts_.work.row_of(code), request, {{"incomplete", true}}});
        return false;
    }

private:
    bool is_packet() const { return parts_.kind.type != SOCK_STREAM; }

    // A whole request, or what came of it before the client ended.
    record receive() const
    {
        record request(parts_.kind.request_size);
        ssize_t size = recv(connection_, request.data(), request.size(), is_packet() ? 0 : MSG_WAITALL);
        request.resize(size < 0 ? 0 : static_cast<size_t>(size));
        return request;
    }

    bool send_all(const uint8_t* data, size_t size) const
    {
        while (size > 0) {
            ssize_t sent = send(connection_, data, size, MSG_NOSIGNAL);
            if (sent < 0)
                return false;
            data += sent;
            size -= static_cast<size_t>(sent);
        }
        return true;
    }

    bool answer(const record& request, uint32_t code, const std::optional<fault>& fault)
    {
        if (!fault) {
            const std::vector<record> replies = carry_out(request);
            trace(request, code, {}, replies);
            return send_replies(replies);
        }
        if (is_lost(fault->kind)) {
            trace(request, code, fault, {});
            return lose(fault->kind);
        }
        if (fault->kind == fault_kind::stop)
            return answer_after_stop(request, code, *fault);
        std::vector<record> replies =
            fault->kind == fault_kind::refuse ? std::vector<record>{reply_of(fault->value)} : carry_out(request);
        spoil(replies, *fault);
        trace(request, code, fault, replies);
        return send_spoilt(replies, *fault);
    }

    // Nothing is carried out and nothing answered.
    static bool is_lost(fault_kind kind)
    {
        return kind == fault_kind::silence || kind == fault_kind::close || kind == fault_kind::endless ||
               kind == fault_kind::crash;
    }

    bool lose(fault_kind kind)
    {
        if (kind == fault_kind::crash)
            kill(getpid(), SIGKILL);
        if (kind == fault_kind::silence)
            await_close();
        if (kind == fault_kind::endless)
            send_without_end();
        return false;
    }

    bool answer_after_stop(const record& request, uint32_t code, const fault& fault)
    {
        trace(request, code, fault, {});
        // To this very thread: one that is sent to the process may find it on its way to the answer.
        raise(SIGSTOP);
        return send_replies(carry_out(request));
    }

    void await_close() const
    {
        uint8_t ignored[256];
        while (recv(connection_, ignored, sizeof ignored, 0) > 0) {
        }
    }

    void send_without_end() const
    {
        const record entry = reply_of(parts_.kind.more);
        while (send_all(entry.data(), entry.size())) {
        }
    }

    std::vector<record> carry_out(const record& request)
    {
        std::lock_guard lock(parts_.lock);
        return parts_.work.answer(request);
    }

    record reply_of(uint32_t result) const
    {
        record reply(parts_.kind.reply_size);
        put_number(reply, parts_.kind.result.offset, parts_.kind.result.size, result);
        return reply;
    }

    void spoil(std::vector<record>& replies, const fault& fault) const
    {
        const byte_range result = parts_.kind.result;
        if (fault.kind == fault_kind::status && !replies.empty())
            put_number(replies.back(), result.offset, result.size, fault.value);
        if (fault.kind == fault_kind::garbage) {
            for (record& reply : replies)
                fill_unnamed(reply);
        }
    }

    void fill_unnamed(record& reply) const
    {
        std::random_device random;
        for (const byte_range& range : parts_.kind.unnamed) {
            for (size_t offset = range.offset; offset < range.offset + range.size && offset < reply.size(); offset++)
                reply[offset] = static_cast<uint8_t>(random());
        }
    }

    bool send_replies(const std::vector<record>& replies) const
    {
        for (const record& reply : replies) {
            if (!send_all(reply.data(), reply.size()))
                return false;
        }
        return true;
    }

    bool send_spoilt(const std::vector<record>& replies, const fault& fault) const
    {
        if (fault.kind == fault_kind::delay)
            std::this_thread::sleep_for(std::chrono::milliseconds(fault.value));
        if (fault.kind == fault_kind::cut)
            return send_start(replies, fault.value);
        if (fault.kind == fault_kind::split)
            return send_in_pieces(replies, fault.value);
        return send_replies(replies);
    }

    // The first bytes alone, over all replies.
    bool send_start(const std::vector<record>& replies, size_t size) const
    {
        for (const record& reply : replies) {
            const size_t part = std::min(size, reply.size());
            if (!send_all(reply.data(), part))
                break;
            size -= part;
        }
        return false;
    }

    bool send_in_pieces(const std::vector<record>& replies, size_t pieces) const
    {
        for (const record& reply : replies) {
            const size_t size = std::max<size_t>(1, (reply.size() + pieces - 1) / pieces);
            for (size_t sent = 0; sent < reply.size(); sent += size) {
                if (!send_all(reply.data() + sent, std::min(size, reply.size() - sent)))
                    return false;
                std::this_thread::sleep_for(pause_between_pieces);
            }
        }
        return true;
    }

    void trace(const record& request, uint32_t code, const std::optional<fault>& fault,
               const std::vector<record>& replies) const
    {
        json answer = json::object();
        if (!replies.empty())
            answer["status"] = number_at(replies.back(), parts_.kind.result.offset, parts_.kind.result.size);
        if (replies.size() > 1)
            answer["records"] = replies.size();
        if (fault)
            answer["fault"] = effect_text(*fault);
        parts_.trace.write({parts_.kind.name, code, parts_.work.row_of(code), request, answer});
    }

    int connection_;
    const daemon_parts& parts_;
};

} // namespace

void serve_connection(int connection, const daemon_parts& parts)
{
    exchange exchange(connection, parts);
    while (exchange.serve()) {
    }
    close(connection);
}

} // namespace sim
