// The secured tests' raw UDP sender: sends each datagram, given in hexadecimal, once, in
// order, from an ephemeral port to 127.0.0.1:PORT, as anyone on the host could.
//   udp-send PORT HEX [HEX...]
// Exit status 0 when every datagram went out, 1 otherwise (with the reason on standard error).
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

bool fromHex(const std::string& text, std::vector<unsigned char>& bytes) {
    if (text.size() % 2 != 0) {
        return false;
    }
    for (size_t i = 0; i < text.size(); i += 2) {
        char* end = nullptr;
        std::string pair = text.substr(i, 2);
        unsigned long value = std::strtoul(pair.c_str(), &end, 16);
        if (end != pair.c_str() + 2) {
            return false;
        }
        bytes.push_back(static_cast<unsigned char>(value));
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: udp-send PORT HEX [HEX...]\n");
        return 1;
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<uint16_t>(std::atoi(argv[1])));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        std::fprintf(stderr, "socket: %s\n", std::strerror(errno));
        return 1;
    }
    for (int i = 2; i < argc; ++i) {
        std::vector<unsigned char> datagram;
        if (!fromHex(argv[i], datagram)) {
            std::fprintf(stderr, "argument %d is not hexadecimal bytes\n", i);
            return 1;
        }
        if (sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to),
                   sizeof to) != static_cast<ssize_t>(datagram.size())) {
            std::fprintf(stderr, "sendto: %s\n", std::strerror(errno));
            return 1;
        }
    }
    close(fd);
    return 0;
}
