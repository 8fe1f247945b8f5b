// A stand-in VISA library for the tests: the handful of functions that VisaIO
// calls, serving "TCPIP::host::port::SOCKET" resources over plain sockets, and
// one alias taken from the environment (FAKEVISA_ALIAS="name=resource").
// Built once whole and once without viRead (FAKEVISA_WITHOUT_READ).

#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using ViStatus = std::int32_t;
using ViSession = std::uint32_t;

constexpr ViStatus kSuccess = 0;
constexpr ViStatus kSuccessTermChar = 0x3FFF0005;
constexpr ViStatus kSuccessMaxCount = 0x3FFF0006;
constexpr ViStatus kErrorInvalidObject = ViStatus(0xBFFF000E);
constexpr ViStatus kErrorNotFound = ViStatus(0xBFFF0011);
constexpr ViStatus kErrorTimeout = ViStatus(0xBFFF0015);
constexpr ViStatus kErrorIo = ViStatus(0xBFFF003E);
constexpr std::uint32_t kAttrTimeout = 0x3FFF001A;
constexpr ViSession kManager = 1;

struct Link
{
    int fd = -1;
    int timeoutMs = 2000;
    std::string pending; // received beyond the last answer handed out
};

std::mutex g_mutex;
std::map<ViSession, Link> g_links;
ViSession g_next = 100;

std::string aliasTarget(std::string const& name)
{
    char const* alias = std::getenv("FAKEVISA_ALIAS");
    if (!alias)
        return {};
    std::string const text(alias);
    std::size_t const eq = text.find('=');
    return eq != std::string::npos && text.compare(0, eq, name) == 0 ? text.substr(eq + 1) : std::string();
}

// "TCPIP[n]::a.b.c.d::port::SOCKET" -> address and port.
bool parseSocket(std::string const& resource, sockaddr_in& address)
{
    std::size_t const first = resource.find("::");
    std::size_t const second = resource.find("::", first + 2);
    if (resource.rfind("TCPIP", 0) != 0 || first == std::string::npos || second == std::string::npos)
        return false;
    std::string const host = resource.substr(first + 2, second - first - 2);
    address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(std::uint16_t(std::atoi(resource.c_str() + second + 2)));
    return inet_pton(AF_INET, host == "localhost" ? "127.0.0.1" : host.c_str(), &address.sin_addr) == 1;
}

} // namespace

extern "C" {

ViStatus viOpenDefaultRM(ViSession* rm)
{
    *rm = kManager;
    return kSuccess;
}

ViStatus viOpen(ViSession rm, char const* name, std::uint32_t, std::uint32_t, ViSession* vi)
{
    if (rm != kManager)
        return kErrorInvalidObject;
    std::string resource = aliasTarget(name);
    if (resource.empty())
        resource = name;
    sockaddr_in address;
    if (!parseSocket(resource, address))
        return kErrorNotFound;
    int const fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return kErrorNotFound;
    }
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    std::lock_guard lock(g_mutex);
    *vi = g_next++;
    g_links[*vi].fd = fd;
    return kSuccess;
}

ViStatus viClose(ViSession vi)
{
    std::lock_guard lock(g_mutex);
    auto const found = g_links.find(vi);
    if (found == g_links.end())
        return vi == kManager ? kSuccess : kErrorInvalidObject;
    ::close(found->second.fd);
    g_links.erase(found);
    return kSuccess;
}

ViStatus viSetAttribute(ViSession vi, std::uint32_t attribute, std::uint64_t value)
{
    std::lock_guard lock(g_mutex);
    auto const found = g_links.find(vi);
    if (found == g_links.end())
        return kErrorInvalidObject;
    if (attribute == kAttrTimeout)
        found->second.timeoutMs = int(value);
    return kSuccess;
}

ViStatus viWrite(ViSession vi, unsigned char const* buffer, std::uint32_t count, std::uint32_t* written)
{
    int fd = -1;
    {
        std::lock_guard lock(g_mutex);
        auto const found = g_links.find(vi);
        if (found == g_links.end())
            return kErrorInvalidObject;
        fd = found->second.fd;
    }
    ssize_t const n = ::send(fd, buffer, count, MSG_NOSIGNAL);
    if (n != ssize_t(count))
        return kErrorIo;
    if (written)
        *written = count;
    return kSuccess;
}

#ifndef FAKEVISA_WITHOUT_READ
// Reads up to the line feed, as with the termination character enabled.
ViStatus viRead(ViSession vi, unsigned char* buffer, std::uint32_t count, std::uint32_t* read)
{
    std::unique_lock lock(g_mutex);
    auto const found = g_links.find(vi);
    if (found == g_links.end())
        return kErrorInvalidObject;
    Link& link = found->second;
    lock.unlock();
    for (;;) {
        std::size_t const end = link.pending.find('\n');
        if (end != std::string::npos || link.pending.size() >= count) {
            std::size_t const n = std::min<std::size_t>(end == std::string::npos ? count : end + 1, count);
            std::memcpy(buffer, link.pending.data(), n);
            link.pending.erase(0, n);
            *read = std::uint32_t(n);
            return end != std::string::npos && n == end + 1 ? kSuccessTermChar : kSuccessMaxCount;
        }
        pollfd p {link.fd, POLLIN, 0};
        if (::poll(&p, 1, link.timeoutMs) == 0)
            return kErrorTimeout;
        char chunk[4096];
        ssize_t const n = ::recv(link.fd, chunk, sizeof chunk, 0);
        if (n <= 0)
            return kErrorIo;
        link.pending.append(chunk, std::size_t(n));
    }
}
#endif

ViStatus viFindRsrc(ViSession rm, char const*, std::uint32_t* list, std::uint32_t* count, char* description)
{
    if (rm != kManager)
        return kErrorInvalidObject;
    char const* alias = std::getenv("FAKEVISA_ALIAS");
    if (!alias)
        return kErrorNotFound;
    std::string const text(alias);
    std::strncpy(description, text.substr(0, text.find('=')).c_str(), 255);
    *list = 2;
    *count = 1;
    return kSuccess;
}

ViStatus viFindNext(std::uint32_t, char*)
{
    return kErrorNotFound;
}

} // extern "C"
