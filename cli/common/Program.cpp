#include "Program.h"

#include "DisplayText.h"
#include "Manual.h"
#include "NearestOption.h"
#include "Version.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

namespace cli {
namespace {

/// Far more than anybody waits, and what a timer still counts in milliseconds.
constexpr double LongestTimeoutSeconds = 2'000'000;

QString shown(const std::string& typed)
{
    return QLatin1Char('"') + QString::fromStdString(typed) + QLatin1Char('"');
}

const CLI::App& chosen(const CLI::App& app)
{
    const auto subcommands = app.get_subcommands();
    return subcommands.empty() ? app : *subcommands.front();
}

QStringList namesOfSubcommands(const CLI::App& app)
{
    QStringList names;
    for (const CLI::App* subcommand : offeredSubcommands(app)) {
        names += QString::fromStdString(subcommand->get_name());
    }
    return names;
}

QString unknownSubcommand(const CLI::App& app, const std::string& typed)
{
    const QStringList offered = namesOfSubcommands(app);
    const QString near = base::nearestWord(QString::fromStdString(typed), offered);
    return QStringLiteral("%1 is no subcommand; %2")
        .arg(shown(typed),
             near.isEmpty() ? QStringLiteral("there are ") + offered.join(QStringLiteral(", "))
                            : QStringLiteral("did you mean \"%1\"?").arg(near));
}

/// What stands behind a subcommand without a "--" in front of it: "itemctl call ACTION [TEXT]".
QString form(const CLI::App& app, const CLI::App& subcommand)
{
    QString form = QString::fromStdString(app.get_name() + ' ' + subcommand.get_name());
    for (const CLI::Option* option :
         subcommand.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
        QString word = QString::fromStdString(option->get_name(true));
        if (option->get_items_expected_max() > 1) {
            word += QStringLiteral("...");
        }
        form += QLatin1Char(' ') + (option->get_required() ? word : QStringLiteral("[%1]").arg(word));
    }
    return form;
}

bool takesText(const CLI::App& subcommand)
{
    const auto takes = [&subcommand](const char* name) {
        return subcommand.get_option_no_throw(name) != nullptr;
    };
    return takes("TEXT") || takes("VALUE") || takes("NAME");
}

QString unexpected(const CLI::App& app)
{
    const CLI::App& subcommand = chosen(app);
    std::vector<std::string> words = app.remaining(true);
    words.erase(std::remove(words.begin(), words.end(), "--"), words.end());
    if (words.empty()) {
        return {};
    }
    const std::string& word = words.front();
    const bool isOption = word.size() > 1 && word.front() == '-';
    if (isOption && &subcommand != &app && takesText(subcommand)) {
        return base::unknownOption(subcommand, word)
            + QStringLiteral(R"( (a text that begins with "-" goes behind "--"))");
    }
    if (isOption) {
        return base::unknownOption(subcommand, word);
    }
    if (&subcommand == &app) {
        return unknownSubcommand(app, word);
    }
    return QStringLiteral("%1 is too much: %2%3")
        .arg(shown(word), form(app, subcommand),
             takesText(subcommand) ? QStringLiteral(" (a text with blanks goes in quotation marks)")
                                   : QString());
}

/// Why the library does not understand the command line, in words that say what would be right.
QString reasonOf(const CLI::App& app, const CLI::ParseError& error)
{
    const bool hasSubcommand = &chosen(app) != &app;
    const bool isRequired = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    // What is mistyped is missing as well, which the library finds first.
    if (isRequired || dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        if (QString reason = unexpected(app); !reason.isEmpty()) {
            return reason;
        }
    }
    QString reason = QString::fromStdString(error.what()).replace(QLatin1Char('\n'), QLatin1Char(' '));
    // Options stand in the help, and so does which of them exclude each other.
    if (hasSubcommand && isRequired && reason.endsWith(QLatin1String("required"))
        && !reason.startsWith(QLatin1Char('-'))) {
        reason += QStringLiteral(": ") + form(app, chosen(app));
    }
    return reason;
}

int report(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == 0) {
        return app.exit(error); // help or version: printed on standard output
    }
    const CLI::App& subcommand = chosen(app);
    const std::string name = &subcommand == &app ? std::string() : subcommand.get_name() + ' ';
    const QString reason = escaped(reasonOf(app, error)); // it has what was typed in it
    std::cerr << app.get_name() << ": " << reason.toStdString()
              << (reason.endsWith(QLatin1Char('?')) ? " See " : "; see ") << app.get_name() << ' ' << name
              << "--help\n";
    return static_cast<int>(ExitStatus::Usage);
}

/// As "git help log" and "apt help": "help [SUBCOMMAND]" is "[SUBCOMMAND] --help".
std::vector<const char*> withoutHelpWord(const CLI::App& app, int argc, const char* const* argv)
{
    std::vector<const char*> words(argv, argv + argc);
    if (argc < 2 || std::string("help") != words[1]) {
        return words;
    }
    words.erase(words.begin() + 1);
    if (argc == 2 || namesOfSubcommands(app).contains(QString::fromLocal8Bit(words[1]))) {
        words.push_back("--help");
    }
    return words;
}

} // namespace

std::string checkSeconds(const std::string& text)
{
    bool isNumber = false;
    const double seconds = QString::fromStdString(text).toDouble(&isNumber);
    if (isNumber && seconds >= 0 && seconds <= LongestTimeoutSeconds) {
        return {};
    }
    return "\"" + text + "\" is no number of seconds from 0 to 2000000";
}

int runProgram(CLI::App& app, int argc, char** argv,
               const std::function<base::Result<ExitStatus>(Output&)>& run, const CompletionOffers& offers)
{
    app.set_version_flag("--version", base::versionOf(app.get_name()), "Print the version and exit");
    if (argc > 2 && std::string("complete") == argv[1] && std::string("--") == argv[2]) {
        const QCoreApplication application(argc, argv);
        return complete(app, QCoreApplication::arguments().mid(3), offers);
    }
    if (argc == 2 && std::string("manual") == argv[1]) {
        std::fputs(qPrintable(manual(app)), stdout);
        return 0;
    }
    const std::vector<const char*> words = withoutHelpWord(app, argc, argv);
    try {
        app.parse(static_cast<int>(words.size()), words.data());
    } catch (const CLI::ParseError& error) {
        return report(app, error);
    }
    const QCoreApplication application(argc, argv);
    Output output(QString::fromStdString(app.get_name()));
    const base::Result<ExitStatus> done = run(output);
    return static_cast<int>(done ? *done : output.fail(done.error()));
}

std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace cli
