#include "Commands.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    const auto parsed = simctl::parseCommandLine(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) {
        return *status;
    }
    const QCoreApplication application(argc, argv);
    cli::Output output(QStringLiteral("simctl"));
    return static_cast<int>(simctl::run(std::get<simctl::Request>(parsed), output));
}
