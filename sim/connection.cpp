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
constexpr size_t traced_entries = 100; // of a list, so that a long one does not keep the client waiting

struct question {
    record bytes;
    uint32_t code;
    const code_row* row; // null: the daemon has no such code
};

class exchange {
public:
    exchange(int connection, const daemon_parts& parts) : connection_(connection), parts_(parts) {}

    // False: the connection is to be closed.
    bool serve()
    {
        const question request = receive();
        if (request.bytes.empty())
            return false;
        if (request.bytes.size() == parts_.kind.request_size)
            return answer(request, parts_.faults.take(request.code));
        write_trace(request, {{"incomplete", true}});
        return false;
    }

private:
    // A whole request, or what came of it before the client ended. Of a packet that is too long, one byte too many.
    question receive() const
    {
        const bool is_stream = parts_.kind.type == SOCK_STREAM;
        record bytes(parts_.kind.request_size + (is_stream ? 0 : 1));
        ssize_t size = recv(connection_, bytes.data(), bytes.size(), is_stream ? MSG_WAITALL : 0);
        bytes.resize(size < 0 ? 0 : static_cast<size_t>(size));
        const uint32_t code = number_at(bytes, 0, parts_.kind.code_width);
        return {.bytes = bytes, .code = code, .row = row_of(parts_.kind, code)};
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

    bool answer(const question& request, const std::optional<fault>& fault)
    {
        if (!fault) {
            const std::vector<record> answers = carry_out(request);
            trace(request, {}, answers);
            return send_replies(answers);
        }
        if (is_lost(fault->kind)) {
            trace(request, fault, {});
            return lose(fault->kind);
        }
        if (fault->kind == fault_kind::stop)
            return answer_after_stop(request, *fault);
        std::vector<record> answers =
            fault->kind == fault_kind::refuse ? std::vector<record>{reply_of(fault->value)} : carry_out(request);
        spoil(request, answers, *fault);
        trace(request, fault, answers);
        return send_spoilt(answers, *fault);
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

    bool answer_after_stop(const question& request, const fault& fault)
    {
        trace(request, fault, {});
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

    std::vector<record> carry_out(const question& request)
    {
        std::lock_guard lock(parts_.lock);
        return parts_.work.answer(request.bytes);
    }

    record reply_of(uint32_t result) const
    {
        record reply(parts_.kind.reply_size);
        put_number(reply, parts_.kind.result.offset, parts_.kind.result.size, result);
        return reply;
    }

    void spoil(const question& request, std::vector<record>& answers, const fault& fault) const
    {
        const byte_range result = parts_.kind.result;
        if (fault.kind == fault_kind::status && !answers.empty())
            put_number(answers.back(), result.offset, result.size, fault.value);
        if (fault.kind == fault_kind::garbage) {
            for (record& reply : answers)
                fill_unnamed(request, reply);
        }
    }

    void fill_unnamed(const question& request, record& reply) const
    {
        record filled(reply.size());
        std::random_device random;
        std::ranges::generate(filled, [&] { return static_cast<uint8_t>(random()); });
        auto keep = [&](size_t offset, size_t size) { std::copy_n(&reply[offset], size, &filled[offset]); };
        keep(parts_.kind.result.offset, parts_.kind.result.size);
        for (const byte_range& range : parts_.kind.named)
            keep(range.offset, range.size);
        for (const field& field : fields_of_reply(request))
            keep(field.offset, field.width);
        reply = filled;
    }

    static std::span<const field> fields_of_reply(const question& request)
    {
        return request.row != nullptr ? request.row->reply : std::span<const field>();
    }

    bool send_replies(const std::vector<record>& answers) const
    {
        for (const record& reply : answers) {
            if (!send_all(reply.data(), reply.size()))
                return false;
        }
        return true;
    }

    bool send_spoilt(const std::vector<record>& answers, const fault& fault) const
    {
        if (fault.kind == fault_kind::delay)
            std::this_thread::sleep_for(std::chrono::milliseconds(fault.value));
        if (fault.kind == fault_kind::cut)
            return send_start(answers, fault.value);
        if (fault.kind == fault_kind::split)
            return send_in_pieces(answers, fault.value);
        return send_replies(answers);
    }

    // The first bytes alone, over all replies.
    bool send_start(const std::vector<record>& answers, size_t size) const
    {
        for (const record& reply : answers) {
            const size_t part = std::min(size, reply.size());
            if (!send_all(reply.data(), part))
                break;
            size -= part;
        }
        return false;
    }

    bool send_in_pieces(const std::vector<record>& answers, size_t pieces) const
    {
        for (const record& reply : answers) {
            const size_t size = std::max<size_t>(1, (reply.size() + pieces - 1) / pieces);
            for (size_t sent = 0; sent < reply.size(); sent += size) {
                if (!send_all(reply.data() + sent, std::min(size, reply.size() - sent)))
                    return false;
                std::this_thread::sleep_for(pause_between_pieces);
            }
        }
        return true;
    }

    void trace(const question& request, const std::optional<fault>& fault, const std::vector<record>& answers) const
    {
        json answer = json::object();
        if (!answers.empty())
            answer["status"] = result_of(answers.back());
        if (answers.size() > 1)
            answer["records"] = answers.size();
        if (fault)
            answer["fault"] = effect_text(*fault);
        if (!answers.empty())
            decode_answers(request, answers, answer);
        write_trace(request, answer);
    }

    // Numbers of a whole word have a sign.
    json result_of(const record& reply) const
    {
        const auto [offset, size] = parts_.kind.result;
        const uint32_t number = number_at(reply, offset, size);
        return size == sizeof number ? json(static_cast<int32_t>(number)) : json(number);
    }

    static void decode_answers(const question& request, const std::vector<record>& answers, json& into)
    {
        const std::span<const field> fields = fields_of_reply(request);
        if (fields.empty())
            return;
        if (request.row->form == reply_form::single) {
            into["fields"] = decode_fields(fields, answers.front());
            return;
        }
        json& entries = into["entries"] = json::array();
        for (size_t entry = 0; entry < std::min(answers.size() - 1, traced_entries); entry++)
            entries.push_back(decode_fields(fields, answers[entry]));
    }

    void write_trace(const question& request, const json& answer) const
    {
        parts_.trace.write({parts_.kind.name, request.code, request.row, request.bytes, answer});
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
