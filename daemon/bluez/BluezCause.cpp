#include "BluezCause.h"

#include <algorithm>
#include <array>

namespace bt {

namespace {

struct Sign
{
    const char* end; ///< of the error's name or message
    Cause cause;
};

// src/device.c of BlueZ 5.66 makes the names from the management interface's status.
constexpr std::array Names{
    Sign{ ".AuthenticationFailed", Cause::NoCommonKey },
    Sign{ ".AuthenticationRejected", Cause::RefusedThere },
    Sign{ ".AuthenticationTimeout", Cause::NoAnswerThere },
    Sign{ ".ConnectionAttemptFailed", Cause::OutOfRange },
    Sign{ ".AuthenticationCanceled", Cause::LinkLost }, // and not by us
    Sign{ ".InProgress", Cause::Busy },
    Sign{ ".NotReady", Cause::RadioGone },
    Sign{ ".NotPermitted", Cause::NotAllowed },
    Sign{ ".NotAuthorized", Cause::NotAllowed },
    Sign{ ".AccessDenied", Cause::NotAllowed },
};

// src/error.h of BlueZ: "br-connection-…" and "le-connection-…".
constexpr std::array Messages{
    Sign{ "-key-missing", Cause::ForgotUs },           Sign{ "-page-timeout", Cause::OutOfRange },
    Sign{ "-connection-timeout", Cause::OutOfRange },  Sign{ "-connection-refused", Cause::RefusedThere },
    Sign{ "-aborted-by-remote", Cause::RefusedThere }, Sign{ "-connection-busy", Cause::Busy },
    Sign{ "-adapter-not-powered", Cause::RadioGone },
};

template <typename Signs>
Cause find(const Signs& signs, const QString& text)
{
    const auto found = std::find_if(signs.begin(), signs.end(), [&text](const Sign& sign) {
        return text.endsWith(QLatin1String(sign.end));
    });
    return found != signs.end() ? found->cause : Cause::Unknown;
}

} // namespace

Cause causeOf(const QDBusError& error)
{
    const Cause byMessage = find(Messages, error.message());
    return byMessage != Cause::Unknown ? byMessage : find(Names, error.name());
}

Cause exactly(const QDBusError& error, const std::optional<Cause>& byKernel)
{
    const Cause cause = causeOf(error);
    const bool isVague = cause == Cause::NoCommonKey || cause == Cause::LinkLost || cause == Cause::Unknown;
    return isVague ? byKernel.value_or(cause) : cause;
}

QString detailOf(const QDBusError& error)
{
    return QStringLiteral("%1, %2").arg(error.message(), error.name());
}

} // namespace bt
