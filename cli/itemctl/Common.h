#pragma once

// What the command-line programs share, and the items of servers, are spoken of as our own here.
namespace cli {
}
namespace mirror {
}
namespace itemctl {
using namespace cli;
using namespace mirror;
} // namespace itemctl
