#include "KeptPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace world {

namespace {

bool isBelow(const QString& path, const QString& folder)
{
    return path.startsWith(folder + QLatin1Char('/'));
}

bool isCovered(const QString& path, const QStringList& kept)
{
    return std::any_of(kept.begin(), kept.end(),
                       [&path](const QString& folder) { return path == folder || isBelow(path, folder); });
}

} // namespace

QStringList pathsBelowTmp(const QStringList& paths)
{
    const QString tmp = QStringLiteral("/tmp");
    QStringList candidates;
    for (const QString& path : paths) {
        if (path.isEmpty() || !QFileInfo::exists(path)) {
            continue;
        }
        candidates << QDir::cleanPath(QFileInfo(path).absoluteFilePath())
                   << QFileInfo(path).canonicalFilePath();
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const QString& a, const QString& b) { return a.size() < b.size(); });
    QStringList kept;
    for (const QString& path : std::as_const(candidates)) {
        if (isBelow(path, tmp) && !isCovered(path, kept)) {
            kept << path;
        }
    }
    return kept;
}

bool makeMountPoint(const QString& path, bool isFolder)
{
    return isFolder ? QDir().mkpath(path)
                    : QDir().mkpath(QFileInfo(path).path()) && QFile(path).open(QIODevice::WriteOnly);
}

QStringList foldersOfThisProgram()
{
    const QFileInfo program(QStringLiteral("/proc/self/exe"));
    const QString bin = QFileInfo(program.canonicalFilePath()).path();
    const QString tree = QFileInfo(bin).path();
    QStringList folders{ bin };
    if (QFileInfo(tree).path() != QStringLiteral("/") && tree != QStringLiteral("/tmp")) {
        folders << tree;
    }
    const QDir build(QFileInfo(tree).path());
    if (build.dirName() == QStringLiteral("build")) {
        folders << QFileInfo(build.path()).path();
    }
    return folders;
}

} // namespace world
