/// Preloaded into tavrel-publish by scripts/faults: breaks its connections, and fails its reads and writes of files.
///
/// FAULTS lists KIND@N or KIND@N/M: at the Nth call, and then at every Mth.
///   reset, end, silence        a TCP socket breaks, its peer closes it, or nothing comes or goes any more
///   short                      some further calls on a TCP socket move a few bytes only
///   KILL, TERM, INT, HUP       the process gets the signal
///   hook                       the command FAULT_HOOK is run, which may end processes of the server
///   unreadable, full           reading or writing a file below FAULT_FOLDER fails
/// Calls on sockets are counted when bytes are moved. Each fault is noted in the file FAULT_LOG.

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int MAX_SOCKETS = 1024;
constexpr int SHORT_CALLS = 200;
constexpr int SLICE_MS = 20;
constexpr size_t SHORT_BYTES = 16;
constexpr size_t MAX_COMMAND_BYTES = 1024;

/// State of a socket: how it is broken, or how many of its calls are short.
enum Broken { Reset = -1, Ended = -2, Silent = -3 };
std::array<std::atomic<int>, MAX_SOCKETS> states;

struct Counter
{
    std::atomic<int> calls { 0 };
    const char* name;
};
Counter network { {}, "call on a socket" };
Counter reads { {}, "read of a file" };
Counter writes { {}, "write to a file" };

struct Fault
{
    std::string kind;
    const Counter* counter;
    int at;
    int every; ///< 0: once
};

template <class Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

const char* variable(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

int number(const char* text)
{
    constexpr int decimal = 10;
    return int(strtol(text, nullptr, decimal));
}

const std::vector<Fault>& faults()
{
    static const std::vector<Fault> list = [] {
        std::vector<Fault> parsed;
        std::istringstream text(variable("FAULTS"));
        for (std::string word; text >> word;) {
            const size_t sign = word.find('@');
            const size_t slash = word.find('/');
            const std::string kind = word.substr(0, sign);
            const Counter* counter = kind == "unreadable" ? &reads : kind == "full" ? &writes : &network;
            parsed.push_back({ kind, counter, number(word.c_str() + sign + 1),
                slash == std::string::npos ? 0 : number(word.c_str() + slash + 1) });
        }
        return parsed;
    }();
    return list;
}

void note(const Fault& fault, int call)
{
    static const auto writeBytes = next<decltype(write)>("write");
    const std::string line = fault.kind + " at " + std::to_string(call) + ", a " + fault.counter->name + '\n';
    const int log = open(variable("FAULT_LOG"), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (log >= 0 && writeBytes(log, line.data(), line.size()) < 0) {
        abort();
    }
    ::close(log);
}

void breakSocket(int fd, Broken state)
{
    static const auto connectSocket = next<decltype(connect)>("connect");
    if (state == Reset) {
        const sockaddr nowhere { AF_UNSPEC, {} };
        connectSocket(fd, &nowhere, sizeof(nowhere)); // the peer gets a reset
    } else if (state == Ended) {
        shutdown(fd, SHUT_RDWR);
    }
    states[fd] = state;
}

void cause(const Fault& fault, int fd)
{
    if (fault.kind == "reset") {
        breakSocket(fd, Reset);
    } else if (fault.kind == "end") {
        breakSocket(fd, Ended);
    } else if (fault.kind == "silence") {
        breakSocket(fd, Silent);
    } else if (fault.kind == "short") {
        states[fd] = SHORT_CALLS;
    } else if (fault.kind == "hook") {
        if (system(variable("FAULT_HOOK")) != 0) {
            fputs("FAULT_HOOK failed\n", stderr);
        }
    } else {
        const int signal = fault.kind == "KILL" ? SIGKILL
            : fault.kind == "INT"               ? SIGINT
            : fault.kind == "HUP"               ? SIGHUP
                                                : SIGTERM;
        kill(getpid(), signal);
    }
}

/// Counts a call; true if it fails because of a fault of files.
bool strike(Counter& counter, int fd)
{
    const int call = ++counter.calls;
    for (const Fault& fault : faults()) {
        const int since = call - fault.at;
        const bool isDue = since == 0 || (fault.every > 0 && since > 0 && since % fault.every == 0);
        if (fault.counter == &counter && isDue) {
            note(fault, call);
            if (&counter != &network) {
                return true;
            }
            cause(fault, fd);
        }
    }
    return false;
}

bool isTcp(int fd)
{
    int domain = 0;
    socklen_t size = sizeof(domain);
    return fd >= 0 && fd < MAX_SOCKETS && getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0
        && (domain == AF_INET || domain == AF_INET6);
}

bool isWatchedFile(int fd)
{
    const std::string folder = variable("FAULT_FOLDER");
    std::array<char, PATH_MAX> path {};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t size = fd > STDERR_FILENO ? readlink(link.c_str(), path.data(), path.size()) : -1;
    return size > 0 && !folder.empty() && std::string(path.data(), size_t(size)).compare(0, folder.size(), folder) == 0;
}

ssize_t fail(int error)
{
    errno = error;
    return -1;
}

size_t shortened(int fd, size_t size)
{
    if (states[fd] <= 0) {
        return size;
    }
    --states[fd];
    return size < SHORT_BYTES ? size : SHORT_BYTES;
}

ssize_t brokenRead(int state)
{
    return state == Ended ? 0 : fail(state == Silent ? EAGAIN : ECONNRESET);
}

template <class Call> ssize_t receive(int fd, size_t size, const Call& call)
{
    if (states[fd] < 0) {
        return brokenRead(states[fd]);
    }
    const ssize_t received = call(shortened(fd, size));
    if (received >= 0) {
        strike(network, fd);
    }
    return received >= 0 && states[fd] < 0 ? brokenRead(states[fd]) : received;
}

template <class Call> ssize_t transmit(int fd, size_t size, const Call& call)
{
    if (states[fd] >= 0) {
        strike(network, fd);
    }
    if (states[fd] < 0) {
        return fail(states[fd] == Silent ? EAGAIN : EPIPE);
    }
    // libcurl does not send the rest of a command of POSTQUOTE; systems do not take a part of a few bytes.
    return call(size > MAX_COMMAND_BYTES ? shortened(fd, size) : size);
}

} // namespace

extern "C" {

ssize_t recv(int fd, void* data, size_t size, int flags)
{
    static const auto call = next<decltype(recv)>("recv");
    return isTcp(fd) ? receive(fd, size, [&](size_t part) { return call(fd, data, part, flags); })
                     : call(fd, data, size, flags);
}

ssize_t send(int fd, const void* data, size_t size, int flags)
{
    static const auto call = next<decltype(send)>("send");
    return isTcp(fd) ? transmit(fd, size, [&](size_t part) { return call(fd, data, part, flags); })
                     : call(fd, data, size, flags);
}

ssize_t read(int fd, void* data, size_t size)
{
    static const auto call = next<decltype(read)>("read");
    if (isTcp(fd)) {
        return receive(fd, size, [&](size_t part) { return call(fd, data, part); });
    }
    return isWatchedFile(fd) && strike(reads, fd) ? fail(EIO) : call(fd, data, size);
}

ssize_t write(int fd, const void* data, size_t size)
{
    static const auto call = next<decltype(write)>("write");
    if (isTcp(fd)) {
        return transmit(fd, size, [&](size_t part) { return call(fd, data, part); });
    }
    return isWatchedFile(fd) && strike(writes, fd) ? fail(ENOSPC) : call(fd, data, size);
}

int connect(int fd, const sockaddr* address, socklen_t size)
{
    static const auto call = next<decltype(connect)>("connect");
    if (isTcp(fd)) {
        strike(network, fd);
        if (states[fd] < 0) {
            return int(fail(states[fd] == Silent ? EINPROGRESS : ECONNREFUSED));
        }
    }
    return call(fd, address, size);
}

/// In slices, as another thread may shut a silent socket down.
int poll(pollfd* sockets, nfds_t count, int timeout)
{
    static const auto call = next<decltype(poll)>("poll");
    std::vector<pollfd> heard(sockets, sockets + count);
    int result = 0;
    bool isSilent = true;
    for (int left = timeout; result == 0 && isSilent; left -= SLICE_MS) {
        isSilent = false;
        for (nfds_t i = 0; i < count; ++i) {
            const int fd = sockets[i].fd;
            const bool isDeaf = fd >= 0 && fd < MAX_SOCKETS && states[fd] == Silent;
            heard[i].fd = isDeaf ? -1 : fd;
            isSilent = isSilent || isDeaf;
        }
        const bool isLast = !isSilent || (timeout >= 0 && left <= SLICE_MS);
        result = call(heard.data(), count, isLast ? (timeout < 0 ? -1 : left) : SLICE_MS);
        isSilent = isSilent && !isLast;
    }
    for (nfds_t i = 0; i < count; ++i) {
        sockets[i].revents = heard[i].revents;
    }
    return result;
}

int shutdown(int fd, int how)
{
    static const auto call = next<decltype(shutdown)>("shutdown");
    if (fd >= 0 && fd < MAX_SOCKETS && states[fd] == Silent) {
        states[fd] = Ended;
    }
    return call(fd, how);
}

int close(int fd)
{
    static const auto call = next<decltype(close)>("close");
    if (fd >= 0 && fd < MAX_SOCKETS) {
        states[fd] = 0;
    }
    return call(fd);
}

} // extern "C"
