/*
 * A line of a given round-trip time to the servers of this machine, for a network namespace of its own.
 *
 *   bench_delay MILLISECONDS
 *
 * Creates the network device bench0 and ends when it is killed. Connections from this machine to 10.9.0.2 reach the
 * servers on 127.0.0.1 at the same port, and each packet takes half of the time. It prints a line when the device is
 * there; the addresses of the device are the caller's work, see delay.sh.
 */

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#define MAX_PACKET ((size_t)65536)
#define CAPACITY ((size_t)16384)
#define MIN_IP_HEADER ((size_t)20)
#define TCP ((unsigned)6)
#define MICROSECONDS ((int64_t)1000000)

/* Time to wake up on each way, so that ping shows the time asked for. */
#define WAKING_UP ((int64_t)150)

#define CLIENT 0x0a090001U
#define FAR_SERVER 0x0a090002U
#define SERVER 0x7f000001U

struct Packet
{
    unsigned char* bytes;
    size_t size;
    int64_t due;
};

static struct Packet queue[CAPACITY];
static size_t first = 0;
static size_t count = 0;

static void fail(const char* reason)
{
    fprintf(stderr, "bench_delay: %s: %s\n", reason, strerror(errno));
    exit(1);
}

static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (int64_t)time.tv_sec * MICROSECONDS + time.tv_nsec / 1000;
}

static int openDevice(void)
{
    const int device = open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    struct ifreq request;
    memset(&request, 0, sizeof request);
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    strcpy(request.ifr_name, "bench0");
    if (device < 0 || ioctl(device, TUNSETIFF, &request) != 0) {
        fail("cannot create a network device");
    }
    return device;
}

static uint32_t readWord(const unsigned char* bytes)
{
    uint32_t word = 0;
    memcpy(&word, bytes, sizeof word);
    return ntohl(word);
}

/* Adjusts a checksum to another value of 32 bits that it covers. */
static void adjust(unsigned char* checksum, uint32_t before, uint32_t after)
{
    uint32_t sum = ~((uint32_t)checksum[0] << 8 | checksum[1]) & 0xffffU;
    sum += (~before >> 16) + (~before & 0xffffU) + (after >> 16) + (after & 0xffffU);
    sum = (sum & 0xffffU) + (sum >> 16);
    sum = ~((sum & 0xffffU) + (sum >> 16));
    checksum[0] = (unsigned char)(sum >> 8);
    checksum[1] = (unsigned char)sum;
}

static void replaceAddress(struct Packet* packet, size_t offset, uint32_t address)
{
    unsigned char* const ip = packet->bytes;
    const size_t header = (size_t)(ip[0] & 0x0fU) * 4;
    const uint32_t before = readWord(ip + offset);
    const uint32_t word = htonl(address);
    memcpy(ip + offset, &word, sizeof word);
    adjust(ip + 10, before, address);
    if (ip[9] == TCP && packet->size >= header + 18) {
        adjust(ip + header + 16, before, address);
    }
}

/* Turns a packet around: to the server if it comes from the client, else to the client. */
static int redirect(struct Packet* packet)
{
    if (packet->size < MIN_IP_HEADER || packet->bytes[0] >> 4 != 4) {
        return 0;
    }
    const uint32_t target = readWord(packet->bytes + 12) == SERVER ? CLIENT : SERVER;
    replaceAddress(packet, 12, FAR_SERVER);
    replaceAddress(packet, 16, target);
    return 1;
}

static void take(int device, int64_t delay)
{
    static unsigned char buffer[MAX_PACKET];
    const ssize_t size = read(device, buffer, sizeof buffer);
    struct Packet packet = { buffer, size > 0 ? (size_t)size : 0, now() + delay };
    if (size <= 0 || count == CAPACITY || !redirect(&packet)) {
        return; /* TCP sends a lost packet again */
    }
    packet.bytes = malloc(packet.size);
    if (!packet.bytes) {
        fail("no memory");
    }
    memcpy(packet.bytes, buffer, packet.size);
    queue[(first + count) % CAPACITY] = packet;
    ++count;
}

static void deliverDue(int device)
{
    while (count > 0 && queue[first].due <= now()) {
        if (write(device, queue[first].bytes, queue[first].size) < 0 && errno != EAGAIN) {
            fail("cannot deliver a packet");
        }
        free(queue[first].bytes);
        first = (first + 1) % CAPACITY;
        --count;
    }
}

int main(int argc, char* argv[])
{
    const int64_t delay = (int64_t)strtol(argc > 1 ? argv[1] : "0", NULL, 10) * 1000 / 2 - WAKING_UP;
    prctl(PR_SET_TIMERSLACK, 1L, 0L, 0L, 0L);
    const int device = openDevice();
    puts("ready");
    fflush(stdout);
    for (;;) {
        struct pollfd wait = { device, POLLIN, 0 };
        const int64_t left = count > 0 ? queue[first].due - now() : MICROSECONDS - 1;
        /* poll() counts in milliseconds, which would add one to each way. */
        const struct timespec time = { 0, left > 0 ? (long)(left * 1000) : 0 };
        if (ppoll(&wait, 1, &time, NULL) > 0) {
            take(device, delay);
        }
        deliverDue(device);
    }
}
