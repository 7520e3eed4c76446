#include "Failure.h"

namespace itemctl {
namespace {

ExitStatus statusOf(ipc::ClientError::Kind kind)
{
    using Kind = ipc::ClientError::Kind;
    switch (kind) {
    case Kind::NoSuchItem:
    case Kind::Ambiguous:
        return ExitStatus::NoSuchItem;
    case Kind::NoAnswer:
        return ExitStatus::NoAnswer;
    case Kind::NoServer:
        return ExitStatus::NoServer;
    case Kind::Refused:
    case Kind::Failed:
        break;
    }
    return ExitStatus::Failed;
}

} // namespace

Failure failureFrom(const ipc::ClientError& error)
{
    return { statusOf(error.kind), error.message };
}

} // namespace itemctl
