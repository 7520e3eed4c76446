// radio2: the person who holds the second radio of the emulated machine.
#include "common/Program.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>

#include <array>
#include <cstdio>
#include <exception>

namespace {

using cli::ExitStatus;

constexpr int Patience = 200'000; // ms; longer than anything that is waited for over there

struct Subcommand
{
    const char* name;
    const char* help;
    const char* argument = nullptr;
    const char* argumentHelp = nullptr;
    const char* oneOf = nullptr; ///< the words that it may be, with commas in between
};

constexpr std::array Subcommands{
    Subcommand{ "show",
                "Its address and name, how it pairs, with whom it is paired; the code that it shows" },
    Subcommand{ "name", "It has another name", "TEXT", "The name; control characters as well" },
    Subcommand{ "code", "It pairs by comparing a code (as it does at first)" },
    Subcommand{ "pin", "It pairs by a PIN, as old devices do", "PIN", "The right one" },
    Subcommand{ "just-works", "It pairs without a question" },
    Subcommand{ "low-energy", "It is a device of low energy that pairs by a passkey", "WHO",
                "shows: it shows the passkey; types: the passkey is typed there", "shows,types" },
    Subcommand{ "type", "The person there types a passkey", "CODE",
                "Up to six digits; it waits a minute to be asked" },
    Subcommand{ "accept", "The person there agrees to whatever is asked" },
    Subcommand{ "refuse", "The person there refuses whatever is asked" },
    Subcommand{ "pair", "It begins to pair with us; returns when it has" },
    Subcommand{ "cancel", "It gives up the pairing that it has begun" },
    Subcommand{ "drop", "It ends the link" },
    Subcommand{ "forget", "It knows nothing of us any more" },
    Subcommand{ "away", "It goes out of reach" },
    Subcommand{ "back", "It is in reach again" },
};

base::Result<ExitStatus> ask(const QString& verb, const QString& argument, cli::Output& output)
{
    const QString address = qEnvironmentVariable("RADIO2");
    QDBusConnection radio = QDBusConnection::connectToPeer(address, QStringLiteral("radio2"));
    if (address.isEmpty() || !radio.isConnected()) {
        return base::error(
            QStringLiteral(
                "there is no second radio here; it is where \"./run --radio guest -- COMMAND\" runs"),
            base::Failure::NoServer);
    }
    QDBusMessage request = QDBusMessage::createMethodCall(
        {}, QStringLiteral("/"), QStringLiteral("tov.guest.Radio2"), QStringLiteral("Do"));
    request << verb << argument;
    const QDBusMessage reply = radio.call(request, QDBus::Block, Patience);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        const bool isLate = QDBusError(reply).type() == QDBusError::NoReply;
        return base::error(reply.errorMessage(), isLate ? base::Failure::NoAnswer : base::Failure::Failed);
    }
    const QString text = reply.arguments().value(0).toString();
    return text.isEmpty() ? ExitStatus::Done : output.line(text);
}

int drive(int argc, char** argv)
{
    CLI::App app("Drives the second radio of the emulated machine, and the person who holds it.", "radio2");
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 refused or failed, 2 usage, 4 no answer, 5 there is no second radio here.");
    std::string argument;
    for (const Subcommand& subcommand : Subcommands) {
        CLI::App& added = *app.add_subcommand(subcommand.name, subcommand.help);
        if (subcommand.argument != nullptr) {
            CLI::Option& option = *added.add_option(subcommand.argument, argument, subcommand.argumentHelp);
            option.required()->type_name("");
            if (subcommand.oneOf != nullptr) {
                option.check(CLI::IsMember(CLI::detail::split(subcommand.oneOf, ',')));
            }
        }
    }
    return cli::runProgram(
        app, argc, argv,
        [&](cli::Output& output) {
            return ask(QString::fromStdString(app.get_subcommands().front()->get_name()),
                       QString::fromStdString(argument), output);
        },
        [](const cli::CompletionPlace& place) {
            return place.subcommand == QLatin1String("low-energy")
                ? QStringList{ QStringLiteral("shows"), QStringLiteral("types") }
                : QStringList();
        });
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return drive(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "radio2: %s\n", error.what());
        return static_cast<int>(ExitStatus::Failed);
    }
}
