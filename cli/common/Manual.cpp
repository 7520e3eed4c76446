#include "Manual.h"

#include "Completion.h"

namespace cli {
namespace {

/// As one word of a line of mdoc.
QString quoted(const std::string& text)
{
    QString word = QString::fromStdString(text);
    word.replace(QLatin1Char('\\'), QLatin1String("\\e")).replace(QLatin1Char('"'), QLatin1String("\\(dq"));
    return word;
}

/// "Fl -timeout Ar SECONDS"
QString form(const CLI::Option& option)
{
    QString text = QStringLiteral("Fl -") + QString::fromStdString(option.get_lnames().front());
    if (option.get_items_expected_max() > 0) {
        // What is allowed stands behind a colon.
        QString value = quoted(option.get_type_name()).section(QLatin1Char(':'), 0, 0);
        const bool isOptional = value.startsWith(QLatin1Char('['));
        value.remove(QLatin1Char('['))
            .remove(QLatin1Char(']'))
            .replace(QLatin1String("..."), QLatin1String(" ..."));
        text += (isOptional ? QStringLiteral(" Op Ar ") : QStringLiteral(" Ar ")) + value;
    }
    return text;
}

/// Those that the program does not have itself.
std::vector<const CLI::Option*> ownOptions(const CLI::App& program, const CLI::App& subcommand)
{
    std::vector<const CLI::Option*> own;
    for (const CLI::Option* option : offeredOptions(subcommand)) {
        if (program.get_option_no_throw("--" + option->get_lnames().front()) == nullptr) {
            own.push_back(option);
        }
    }
    return own;
}

QString synopsis(const CLI::App& program, const CLI::App& subcommand)
{
    const auto line = [](const CLI::Option& option, const QString& text) {
        return QStringLiteral(".%1%2\n").arg(QLatin1String(option.get_required() ? "" : "Op "), text);
    };
    QString text = QStringLiteral(".Nm\n.Cm %1\n").arg(quoted(subcommand.get_name()));
    for (const CLI::Option* argument :
         subcommand.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
        text += line(*argument,
                     QStringLiteral("Ar ") + quoted(argument->get_name(true))
                         + QLatin1String(argument->get_items_expected_max() > 1 ? " ..." : ""));
    }
    for (const CLI::Option* option : ownOptions(program, subcommand)) {
        text += line(*option, form(*option));
    }
    return text;
}

/// A part of the page between the marks by which it is found.
QString part(const CLI::App& program, const QString& text)
{
    return QStringLiteral(".\\\" Told by \"%1 manual\":\n%2.\\\" end\n")
        .arg(QString::fromStdString(program.get_name()), text);
}

} // namespace

QString manual(const CLI::App& program)
{
    QString forms;
    QString options;
    for (const CLI::App* subcommand : offeredSubcommands(program)) {
        forms += synopsis(program, *subcommand);
        for (const CLI::Option* option : ownOptions(program, *subcommand)) {
            options +=
                QStringLiteral(".It Cm %1 %2\n%3\n")
                    .arg(quoted(subcommand->get_name()), form(*option), quoted(option->get_description()));
        }
    }
    QString text = part(program, forms);
    if (!options.isEmpty()) {
        text += part(program, QStringLiteral(".Bl -tag -width Ds\n%1.El\n").arg(options));
    }
    return text;
}

} // namespace cli
