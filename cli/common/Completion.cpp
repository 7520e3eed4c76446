#include "Completion.h"

#include <cstdio>

namespace cli {
namespace {

std::vector<const CLI::Option*> optionsOf(const CLI::App& app, bool positional)
{
    std::vector<const CLI::Option*> options = app.get_options(
        [positional](const CLI::Option* option) { return option->get_positional() == positional; });
    // Those of a group belong to whom the group belongs to.
    for (const CLI::App* group :
         app.get_subcommands([](const CLI::App* each) { return each->get_name().empty(); })) {
        const auto more = optionsOf(*group, positional);
        options.insert(options.end(), more.begin(), more.end());
    }
    return options;
}

const CLI::Option* optionOf(const CLI::App& app, const QString& word)
{
    for (const CLI::Option* option : optionsOf(app, false)) {
        if (option->check_name(word.toStdString())) {
            return option;
        }
    }
    return nullptr;
}

QString kindOf(const CLI::Option& option)
{
    return QString::fromStdString(option.get_positional() ? option.get_name(true) : option.get_type_name())
        .remove(QLatin1String("..."));
}

QStringList longNames(const CLI::App& app)
{
    QStringList names;
    for (const CLI::Option* option : offeredOptions(app)) {
        names << QStringLiteral("--") + QString::fromStdString(option->get_lnames().front());
    }
    names.removeDuplicates(); // a group has a --help of its own
    return names;
}

QStringList subcommandNames(const CLI::App& app)
{
    QStringList names;
    for (const CLI::App* each : offeredSubcommands(app)) {
        names << QString::fromStdString(each->get_name());
    }
    return names;
}

/// The command line up to the word that is typed.
struct Reading
{
    const CLI::App* app;
    const CLI::Option* awaiting = nullptr; ///< an option that takes what comes
    CompletionPlace place;
};

Reading read(const CLI::App& program, const QStringList& words)
{
    Reading reading{ &program, nullptr, {} };
    for (const QString& word : words.mid(0, words.size() - 1)) {
        if (word.startsWith(QLatin1Char('-')) && word.size() > 1) {
            const CLI::Option* option = optionOf(*reading.app, word);
            reading.awaiting = option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
        } else if (reading.awaiting != nullptr) {
            if (reading.awaiting->get_items_expected_max() == 1) {
                reading.awaiting = nullptr;
            }
        } else if (reading.app == &program) {
            const auto chosen = program.get_subcommands(
                [&word](const CLI::App* each) { return each->get_name() == word.toStdString(); });
            if (!chosen.empty()) {
                reading.app = chosen.front();
                reading.place.subcommand = word;
            }
        } else {
            reading.place.before << word;
        }
    }
    reading.place.typed = words.isEmpty() ? QString() : words.last();
    return reading;
}

const CLI::Option* positional(const CLI::App& app, int number)
{
    const auto options = optionsOf(app, true);
    for (const CLI::Option* option : options) {
        number -= option->get_items_expected_max();
        if (number < 0) {
            return option;
        }
    }
    return nullptr;
}

} // namespace

std::vector<const CLI::Option*> offeredOptions(const CLI::App& app)
{
    std::vector<const CLI::Option*> offered;
    for (const CLI::Option* option : optionsOf(app, false)) {
        if (!option->get_group().empty() && !option->get_lnames().empty()) {
            offered.push_back(option);
        }
    }
    return offered;
}

std::vector<const CLI::App*> offeredSubcommands(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); });
}

int complete(const CLI::App& app, const QStringList& words, const CompletionOffers& offers)
{
    Reading reading = read(app, words);
    const CLI::Option* option = reading.awaiting;
    QStringList candidates;
    if (reading.place.typed.startsWith(QLatin1Char('-'))) {
        candidates = longNames(*reading.app);
    } else if (option == nullptr && reading.app == &app) {
        candidates = subcommandNames(app);
    } else {
        option = option != nullptr ? option : positional(*reading.app, reading.place.before.size());
        if (option != nullptr) {
            reading.place.kind = kindOf(*option);
            candidates = offers(reading.place);
        }
        if (reading.place.kind == QLatin1String(FileKind)) {
            return OfferFiles;
        }
    }
    for (const QString& candidate : qAsConst(candidates)) {
        std::fputs((candidate + QLatin1Char('\n')).toUtf8().constData(), stdout);
    }
    return 0;
}

} // namespace cli
