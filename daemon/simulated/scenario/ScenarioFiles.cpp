#include "ScenarioFiles.h"

#include "ScenarioReader.h"
#include "base/NearestWord.h"

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

constexpr qint64 LargestScenario = 16LL * 1024 * 1024;
constexpr qint64 LargestRecording = 256LL * 1024 * 1024; // some days of a busy radio

bool isRecording(const QString& path)
{
    return path.endsWith(QLatin1String(".rec"));
}

/// @return what is in the file, or why it cannot be had. Nobody has to wait for a pipe or a device.
std::variant<QByteArray, QString> contentOf(const QString& path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        return QStringLiteral("%1 is no regular file; a scenario or a recording has to be one").arg(path);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
    }
    const qint64 largest = isRecording(path) ? LargestRecording : LargestScenario;
    QByteArray content = file.read(largest + 1);
    if (file.error() != QFileDevice::NoError) {
        return QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
    }
    if (content.size() > largest) {
        return QStringLiteral("%1 is too large; %2 MiB are the most that it may have")
            .arg(path)
            .arg(largest / (1024LL * 1024));
    }
    return content;
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
    if (QFileInfo::exists(nameOrPath)) {
        return { nameOrPath, {} };
    }
    const QString nearest = base::nearestWord(nameOrPath, names);
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
    const auto found = contentOf(path);
    if (const auto* problem = std::get_if<QString>(&found)) {
        return *problem;
    }
    const auto& content = std::get<QByteArray>(found);
    const auto finish = [&path](const auto& read) -> Loaded {
        if (const auto* problem = std::get_if<TextProblem>(&read)) {
            return path + QStringLiteral(":%1: ").arg(problem->line) + problem->text;
        }
        return std::get<0>(read);
    };
    return isRecording(path) ? finish(readRecording(content)) : finish(readScenario(content));
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
