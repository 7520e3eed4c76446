#include "ScenarioFiles.h"

#include "ScenarioReader.h"
#include "text/NearestWord.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace bt {

namespace {

const QString& suffix()
{
    static const QString text = QStringLiteral(".json");
    return text;
}

} // namespace

QString scenarioFolder()
{
    // The program may have been started through a link at quite another place.
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    return QDir::cleanPath(QFileInfo(program).path() + QStringLiteral("/../share/bluesim/scenarios"));
}

QStringList scenarioNames()
{
    QStringList names;
    const auto files =
        QDir(scenarioFolder()).entryList({ QLatin1Char('*') + suffix() }, QDir::Files, QDir::Name);
    for (const QString& file : files) {
        if (!file.contains(QLatin1String(".schema."))) {
            names << file.chopped(suffix().size());
        }
    }
    return names;
}

std::pair<QString, QString> findScenario(const QString& nameOrPath)
{
    if (nameOrPath.contains(QLatin1Char('/'))) {
        return { nameOrPath, {} };
    }
    const QStringList names = scenarioNames();
    if (names.contains(nameOrPath)) {
        return { scenarioFolder() + QLatin1Char('/') + nameOrPath + suffix(), {} };
    }
    const QString nearest = text::nearestWord(nameOrPath, names);
    QString problem = names.isEmpty()
        ? QStringLiteral("there is no scenario in %1").arg(scenarioFolder())
        : QStringLiteral("there is no scenario \"%1\"; there are %2, and any file by its path")
              .arg(nameOrPath, names.join(QStringLiteral(", ")));
    if (!nearest.isEmpty()) {
        problem =
            QStringLiteral("there is no scenario \"%1\"; did you mean \"%2\"?").arg(nameOrPath, nearest);
    }
    return { {}, problem };
}

std::variant<Scenario, RecordedRun, QString> loadScenario(const QString& path)
{
    using Loaded = std::variant<Scenario, RecordedRun, QString>;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
    }
    const auto finish = [&path](const auto& read) -> Loaded {
        if (const auto* problem = std::get_if<TextProblem>(&read)) {
            return QStringLiteral("%1:%2: %3").arg(path).arg(problem->line).arg(problem->text);
        }
        return std::get<0>(read);
    };
    return path.endsWith(QLatin1String(".rec")) ? finish(readRecording(file.readAll()))
                                                : finish(readScenario(file.readAll()));
}

QString problemOf(const QString& nameOrPath)
{
    const auto [file, missing] = findScenario(nameOrPath);
    if (!missing.isEmpty()) {
        return missing;
    }
    const auto scenario = loadScenario(file);
    const auto* problem = std::get_if<QString>(&scenario);
    return problem != nullptr ? *problem : QString();
}

} // namespace bt
