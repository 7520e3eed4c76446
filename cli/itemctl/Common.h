#pragma once

// What the command-line programs share is spoken of as our own here.
namespace cli {
}
namespace itemctl {
using namespace cli;
}
