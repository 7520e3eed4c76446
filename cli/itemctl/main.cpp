#include "Commands.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    const auto parsed = itemctl::parseCommandLine(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) {
        return *status;
    }
    const QCoreApplication application(argc, argv);
    itemctl::Output output;
    return static_cast<int>(itemctl::run(std::get<itemctl::Request>(parsed), output));
}
