#include "ManagementEvents.h"

#include <QtEndian>

#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace bt {

namespace {

// The kernel's numbers; no header that everybody has tells them.
constexpr int HciProtocol = 1;
constexpr quint16 NoController = 0xFFFF;
constexpr quint16 ControlChannel = 3;

struct HciAddress
{
    sa_family_t family = AF_BLUETOOTH;
    quint16 controller = NoController;
    quint16 channel = ControlChannel;
};

enum Event : quint16 { Disconnected = 0x000C, ConnectFailed = 0x000D, AuthenticationFailed = 0x0011 };

// A header of event, controller and length, then the device: address, type, and the reason.
constexpr std::size_t AddressAt = 6;
constexpr std::size_t ReasonAt = 13;
constexpr std::size_t LongestEvent = 1024; // longer ones come while devices are looked for, and are cut off

using Message = std::array<uchar, LongestEvent>;

qulonglong addressIn(const Message& message)
{
    qulonglong address = 0;
    for (std::size_t byte = 6; byte > 0; --byte) {
        address = address << 8U | message.at(AddressAt + byte - 1);
    }
    return address;
}

std::optional<Cause> causeOfStatus(uchar status)
{
    switch (status) {
    case 0x04:
        return Cause::OutOfRange;
    case 0x05:
        return Cause::NoCommonKey;
    case 0x08:
        return Cause::NoAnswerThere;
    case 0x0B:
        return Cause::RefusedThere;
    default:
        return std::nullopt;
    }
}

std::optional<Cause> causeOfDisconnection(uchar reason)
{
    switch (reason) {
    case 1:
        return Cause::LinkLost;
    case 3:
        return Cause::RefusedThere;
    case 4:
        return Cause::ForgotUs;
    default:
        return std::nullopt;
    }
}

} // namespace

ManagementEvents::ManagementEvents()
{
    const int fd = ::socket(AF_BLUETOOTH, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, HciProtocol);
    const HciAddress address;
    if (fd >= 0 && ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        m_socket.giveFileDescriptor(fd);
    } else if (fd >= 0) {
        ::close(fd);
    }
}

std::optional<Cause> ManagementEvents::causeOf(qulonglong address) const
{
    std::optional<Cause> byStatus;
    std::optional<Cause> byDisconnection;
    Message message{};
    ssize_t size = 0;
    while (m_socket.isValid()
           && (size = ::recv(m_socket.fileDescriptor(), message.data(), message.size(), MSG_DONTWAIT)) > 0) {
        if (size <= static_cast<ssize_t>(ReasonAt) || addressIn(message) != address) {
            continue; // shorter ones are of other things
        }
        const uchar reason = message.at(ReasonAt);
        switch (qFromLittleEndian<quint16>(message.data())) {
        case Disconnected:
            byDisconnection = causeOfDisconnection(reason);
            break;
        case ConnectFailed:
        case AuthenticationFailed:
            byStatus = causeOfStatus(reason);
            break;
        default:
            break;
        }
    }
    return byStatus ? byStatus : byDisconnection; // what follows a failure is its consequence
}

} // namespace bt
