#include "Version.h"

#include <cstdio>

namespace base {

std::string versionOf(const std::string& program)
{
    return program + " " PROJECT_VERSION;
}

bool tellVersion(const std::string& program, const QStringList& arguments)
{
    const bool isAsked = arguments.size() == 2 && arguments.at(1) == QLatin1String("--version");
    if (isAsked) {
        std::puts(versionOf(program).c_str());
    }
    return isAsked;
}

} // namespace base
