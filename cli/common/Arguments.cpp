#include "Arguments.h"

#include "Failure.h"

#include <cmath>
#include <iostream>

namespace cli {
namespace {

/// Far more than anybody waits, and what a timer still counts in milliseconds.
constexpr double LongestTimeoutSeconds = 2'000'000;

int report(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == 0)
        return app.exit(error); // help or version: printed on standard output
    std::string reason = error.what();
    const auto chosen = app.get_subcommands();
    if (const auto unknown = app.remaining(); chosen.empty() && !unknown.empty())
        reason = '"' + unknown.front() + "\" is no subcommand";
    for (char& character : reason) {
        if (character == '\n')
            character = ' ';
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
        reason += R"( (a text that begins with "-" goes behind "--"))";
    const std::string name = chosen.empty() ? std::string() : chosen.front()->get_name() + ' ';
    std::cerr << app.get_name() << ": " << reason << "; see " << app.get_name() << ' ' << name << "--help\n";
    return static_cast<int>(ExitStatus::Usage);
}

} // namespace

std::string checkSeconds(const std::string& text)
{
    bool isNumber = false;
    const double seconds = QString::fromStdString(text).toDouble(&isNumber);
    if (isNumber && seconds >= 0 && seconds <= LongestTimeoutSeconds)
        return {};
    return "\"" + text + "\" is no number of seconds from 0 to 2000000";
}

std::optional<int> parse(CLI::App& app, int argc, const char* const* argv)
{
    try {
        app.parse(argc, argv);
        return {};
    } catch (const CLI::ParseError& error) {
        return report(app, error);
    }
}

std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace cli
