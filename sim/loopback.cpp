#include "sim/loopback.h"

#include "sim/failure.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sim {

namespace {

// As the kernel's SIOCSIFADDR wants an IPv6 address; glibc has no name for it.
struct ipv6_request {
    in6_addr address;
    uint32_t prefix_length;
    int interface_index;
};

class control_socket {
public:
    explicit control_socket(int family) : fd_(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    control_socket(const control_socket&) = delete;
    control_socket& operator=(const control_socket&) = delete;
    ~control_socket() { close(fd_); }

    template <class Request> void set(unsigned long what, Request& request, const std::string& name) const
    {
        if (ioctl(fd_, what, &request) != 0)
            fail("cannot set up " + name);
    }

private:
    int fd_;
};

ifreq request_for(const std::string& interface)
{
    ifreq request = {};
    interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
    return request;
}

void bring_up()
{
    ifreq request = request_for("lo");
    request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
    control_socket(AF_INET).set(SIOCSIFFLAGS, request, "lo");
}

// Each further IPv4 address stands under a label of its own.
void add_ipv4(const in_addr& address, int label)
{
    ifreq request = request_for("lo:" + std::to_string(label));
    sockaddr_in value = {.sin_family = AF_INET, .sin_addr = address};
    memcpy(&request.ifr_addr, &value, sizeof value);
    control_socket(AF_INET).set(SIOCSIFADDR, request, request.ifr_name);
}

void add_ipv6(const in6_addr& address)
{
    ipv6_request request = {
        .address = address, .prefix_length = 128, .interface_index = static_cast<int>(if_nametoindex("lo"))};
    control_socket(AF_INET6).set(SIOCSIFADDR, request, "an IPv6 address on lo");
}

} // namespace

void bring_up_loopback(const std::vector<std::string>& addresses)
{
    bring_up();
    int label = 1;
    for (const std::string& text : addresses) {
        in_addr ipv4;
        in6_addr ipv6;
        if (inet_pton(AF_INET, text.c_str(), &ipv4) == 1) {
            add_ipv4(ipv4, label++);
        } else if (inet_pton(AF_INET6, text.c_str(), &ipv6) == 1) {
            add_ipv6(ipv6);
        } else {
            errno = EINVAL;
            fail("\"" + text + "\" is no IP address");
        }
    }
}

} // namespace sim
