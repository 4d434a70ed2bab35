#include "ir/ir.h"

#include "common/log.h"

namespace {

int ir_connect()
{
    dialled ir = dial(engines::ir);
    if (ir.reached == dial_step::socket)
        print_line("open domain socket failed\n");
    if (ir.reached == dial_step::connect)
        print_line("connect failed\n");
    return ir.fd.release();
}

// Deliberate: descriptor 0 counts as a failed connection, and stays open.
unique_fd without_descriptor_0(int fd)
{
    return unique_fd(fd == 0 ? fail(EBADF) : fd);
}

// A packet is there or it is not: one of no bytes, as the end of the connection gives it, is a failed receive.
bool arrived(ssize_t size)
{
    if (size <= 0)
        print_line("recv failed\n");
    return size > 0;
}

} // namespace

ir_connection::ir_connection() : fd_(without_descriptor_0(ir_connect())) {}

bool ir_connection::send(const utm_ir_request& request) const
{
    if (send_record(engines::ir, fd_, request))
        return true;
    print_line("send failed\n");
    return false;
}

bool ir_connection::receive(utm_ir_reply& reply) const
{
    return arrived(receive_record(fd_, reply, &utm_ir_reply::status, -1));
}

bool ir_connection::receive(utm_ir_list_record& record) const
{
    return arrived(receive_record(fd_, record, &utm_ir_list_record::end, 1U));
}
