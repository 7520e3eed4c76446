#include "ScenarioFiles.h"

#include "NearestWord.h"
#include "ScenarioReader.h"

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

/// Nobody has to wait for a pipe or a device.
base::Result<QByteArray> contentOf(const QString& path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        return base::error(
            QStringLiteral("%1 is no regular file; a scenario or a recording has to be one").arg(path));
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return base::error(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    }
    const qint64 largest = isRecording(path) ? LargestRecording : LargestScenario;
    QByteArray content = file.read(largest + 1);
    if (file.error() != QFileDevice::NoError) {
        return base::error(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    }
    if (content.size() > largest) {
        return base::error(QStringLiteral("%1 is too large; %2 MiB are the most that it may have")
                               .arg(path)
                               .arg(largest / (1024LL * 1024)));
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

base::Result<QString> findScenario(const QString& nameOrPath)
{
    if (nameOrPath.contains(QLatin1Char('/'))) {
        return nameOrPath;
    }
    const QString own = scenarioFolder() + QLatin1Char('/') + nameOrPath + suffix();
    for (const QString& path : { own, nameOrPath }) {
        if (QFileInfo::exists(path)) {
            return path;
        }
    }
    const QStringList names = scenarioNames();
    if (const QString nearest = base::nearestWord(nameOrPath, names); !nearest.isEmpty()) {
        return base::error(
            QStringLiteral("there is no scenario \"%1\"; did you mean \"%2\"?").arg(nameOrPath, nearest));
    }
    return base::error(
        names.isEmpty()
            ? QStringLiteral("there is no scenario in %1").arg(scenarioFolder())
            : QStringLiteral("there is no scenario \"%1\"; there are %2, and any file by its path")
                  .arg(nameOrPath, names.join(QStringLiteral(", "))));
}

base::Result<std::variant<Scenario, recording::RecordedRun>> loadScenario(const QString& path)
{
    using Loaded = base::Result<std::variant<Scenario, recording::RecordedRun>>;
    return contentOf(path).and_then([&path](const QByteArray& content) {
        const Loaded loaded =
            isRecording(path) ? Loaded(recording::readRecording(content)) : Loaded(readScenario(content));
        return loaded.map_error([&path](base::Error error) {
            error.text.prepend(path + QStringLiteral(":%1: ").arg(error.line));
            return error;
        });
    });
}

base::Result<> checkScenario(const QString& nameOrPath)
{
    return findScenario(nameOrPath).and_then(loadScenario).map([](const auto& /*loaded*/) {});
}

} // namespace bt
