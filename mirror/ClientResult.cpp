#include "ClientResult.h"

namespace mirror {
namespace {

base::Failure failureOf(ipc::ClientError::Kind kind)
{
    using Kind = ipc::ClientError::Kind;
    switch (kind) {
    case Kind::NoSuchItem:
    case Kind::Ambiguous:
        return base::Failure::NoSuchItem;
    case Kind::NoAnswer:
        return base::Failure::NoAnswer;
    case Kind::NoServer:
        return base::Failure::NoServer;
    case Kind::Refused:
    case Kind::Failed:
        break;
    }
    return base::Failure::Failed;
}

} // namespace

base::Error errorFrom(const ipc::ClientError& error)
{
    return { error.message, failureOf(error.kind) };
}

} // namespace mirror
