#include "StoredDocument.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace ipc {
namespace {

// Far beyond what any server needs, and far below what memory and stack bear.
constexpr qint64 LargestFile = 4LL * 1024 * 1024;
constexpr int DeepestNesting = 32;

QString tooLarge()
{
    return QStringLiteral("it is too large; %1 MiB are the most that it may have")
        .arg(LargestFile / (1024LL * 1024));
}

bool isNestedDeeply(int depth, Json::parse_event_t event)
{
    return depth >= DeepestNesting
        && (event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start);
}

Outcome<Json> parse(const QByteArray& content)
{
    try {
        bool isTooDeep = false;
        Json document =
            Json::parse(content.begin(), content.end(), [&](int depth, Json::parse_event_t event, Json&) {
                isTooDeep |= isNestedDeeply(depth, event);
                return !isTooDeep; // what is not taken in needs no stack
            });
        if (isTooDeep) {
            return Error{
                Error::Kind::Failed,
                QStringLiteral("objects and lists are nested more than %1 deep").arg(DeepestNesting)
            };
        }
        if (document.is_object() && document.value("modules", Json::object()).is_object()) {
            return document;
        }
    } catch (const Json::exception& exception) {
        return Error{ Error::Kind::Failed, QString::fromUtf8(exception.what()) };
    }
    return Error{ Error::Kind::Failed, QStringLiteral("an object with an object \"modules\" is expected") };
}

Outcome<std::optional<Json>> setAside(const QString& path, const QString& reason, const QString& consequence)
{
    const QString kept =
        QStringLiteral("%1.damaged-%2")
            .arg(path, QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")));
    // Not by Qt, which copies what it cannot rename, and a device has no end.
    if (std::rename(QFile::encodeName(path).constData(), QFile::encodeName(kept).constData()) != 0) {
        return Error{ Error::Kind::Failed, reason };
    }
    qWarning().noquote() << path << "is damaged and" << consequence + QLatin1Char(':')
                         << reason + QLatin1Char(';') << "the file is kept as" << kept;
    return std::optional<Json>();
}

} // namespace

Outcome<std::optional<Json>> readDocument(const QString& path, const QString& consequence)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        return std::optional(Json::object());
    }
    if (!info.isFile()) {
        return setAside(path, QStringLiteral("it is no regular file, which it has to be"), consequence);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{ Error::Kind::Failed, QStringLiteral("cannot be read: %1").arg(file.errorString()) };
    }
    const QByteArray content = file.read(LargestFile + 1);
    if (file.error() != QFileDevice::NoError) {
        return Error{ Error::Kind::Failed, QStringLiteral("cannot be read: %1").arg(file.errorString()) };
    }
    if (content.size() > LargestFile) {
        return setAside(path, tooLarge(), consequence);
    }
    const Outcome<Json> document = parse(content);
    return document ? std::optional(*document) : setAside(path, document.error().message, consequence);
}

Outcome<QByteArray> documentText(const Json& document)
{
    QByteArray text =
        QByteArray::fromStdString(document.dump(2, ' ', false, Json::error_handler_t::replace)) + '\n';
    if (text.size() > LargestFile) {
        return Error{ Error::Kind::Failed, tooLarge() };
    }
    return text;
}

} // namespace ipc
