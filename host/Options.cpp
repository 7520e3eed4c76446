#include "Options.h"

#include "Version.h"

#include <QCommandLineParser>
#include <QDir>

namespace host {
namespace {

QString defaultStateFolder()
{
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    // A relative path is as good as none, by the rules for XDG base directories.
    if (!QDir::isAbsolutePath(base)) {
        base = QDir::homePath() + QStringLiteral("/.local/state");
    }
    return base + QStringLiteral("/bluetoothlauncher");
}

/// What is wrong with a command line; empty when it is understood.
QString mistake(const QCommandLineParser& parser, bool isParsed)
{
    const QStringList unknown = parser.unknownOptionNames();
    if (!unknown.isEmpty()) {
        const QString dashes(unknown.first().size() == 1 ? 1 : 2, QLatin1Char('-'));
        return QStringLiteral("there is no option \"%1\"").arg(dashes + unknown.first());
    }
    if (!isParsed) {
        return parser.errorText().chopped(1); // its full stop
    }
    const QStringList extra = parser.positionalArguments();
    return extra.isEmpty() ? QString() : QStringLiteral("\"%1\" is not expected").arg(extra.first());
}

} // namespace

base::Result<Options> readOptions(const QStringList& arguments)
{
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") },
                                  QStringLiteral("Print this help message and exit"));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Print the version and exit"));
    const QString folder = defaultStateFolder();
    const QCommandLineOption state(
        QStringLiteral("state"),
        QStringLiteral("Folder that keeps the configs; made when it is missing (default: %1)").arg(folder),
        QStringLiteral("DIR"), folder);
    const QCommandLineOption module(
        QStringLiteral("module"), QStringLiteral("A module to serve beside the Bluetooth module; any number"),
        QStringLiteral("FILE"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Serves the items of its modules on the session bus, until SIGTERM or SIGINT."));
    parser.addOptions({ help, version, state, module });
    const bool isParsed = parser.parse(arguments);
    const QString wrong = mistake(parser, isParsed);
    if (!wrong.isEmpty()) {
        return base::error(QStringLiteral("%1; --help shows what is understood").arg(wrong),
                           base::Failure::Usage);
    }
    QString answer;
    if (parser.isSet(help)) {
        answer = parser.helpText();
    } else if (parser.isSet(version)) {
        answer = QString::fromStdString(base::versionOf("bluetoothlauncher") + '\n');
    }
    return Options{ parser.value(state), parser.values(module), answer };
}

} // namespace host
