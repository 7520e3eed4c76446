#include "Faults.h"

#include "BluetoothIf.h"
#include "ExampleValue.h"
#include "NearestWord.h"
#include "Signature.h"
#include "ValueReader.h"
#include "WordTable.h"

#include <nlohmann/json.hpp>

#include <QMetaMethod>
#include <QMetaProperty>

#include <algorithm>
#include <cmath>

namespace bt {

namespace {

using base::Result;

constexpr double LongestFault = 3600; // seconds
constexpr int MostSignals = 100'000;

auto wrong(const QString& text)
{
    return base::error(text, base::Failure::InvalidArgument);
}

QStringList membersOf(const QString& role)
{
    QStringList words;
    const QMetaObject& type = BluetoothIf::staticMetaObject;
    for (int i = type.methodOffset(); role.contains(QLatin1String("signal")) && i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Signal) {
            words << QString::fromLatin1(type.method(i).name());
        }
    }
    for (int i = type.propertyOffset(); role.contains(QLatin1String("property")) && i < type.propertyCount();
         ++i) {
        words << QLatin1String(type.property(i).name());
    }
    return words;
}

Result<QVariant> oneOf(const QStringList& words, const QString& role, const QString& word)
{
    if (words.contains(word)) {
        return word;
    }
    const QString nearest = base::nearestWord(word, words);
    return wrong(QStringLiteral("\"%1\" is no %2").arg(word, role)
                 + (nearest.isEmpty() ? QStringLiteral("; there are %1").arg(words.join(QStringLiteral(", ")))
                                      : QStringLiteral("; did you mean \"%1\"?").arg(nearest)));
}

Result<QVariant> secondsOf(const QString& text)
{
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || seconds < 0 || seconds > LongestFault) {
        return wrong(QStringLiteral("\"%1\" is no number of seconds from 0 to 3600").arg(text));
    }
    return std::round(seconds * 1000) / 1000;
}

Result<QVariant> countOf(const QString& text)
{
    bool isNumber = false;
    const int count = text.toInt(&isNumber);
    if (!isNumber || count < 1 || count > MostSignals) {
        return wrong(QStringLiteral("\"%1\" is no number of signals from 1 to 100000").arg(text));
    }
    return count;
}

Result<QVariant> shapeOf(const QString& text)
{
    if (const auto valid = recording::checkSignature(text.toUtf8()); !valid) {
        return wrong(
            QStringLiteral("\"%1\" is no shape: %2; a shape is one D-Bus type, like i, as, a{sv} or a(tis)")
                .arg(text, valid.error().text));
    }
    return text;
}

Result<QVariant> payloadOf(const QString& shape, const QString& json)
{
    const QByteArray signature = shape.toUtf8();
    const auto parsed = json.isEmpty() ? recording::exampleValue(signature)
                                       : nlohmann::json::parse(json.toStdString(), nullptr, false);
    if (parsed.is_discarded()) {
        return wrong(
            QStringLiteral("the value %1 is no JSON, like %2 of the shape %3")
                .arg(json, QString::fromStdString(recording::exampleValue(signature).dump()), shape));
    }
    return recording::readValue(signature, parsed, QStringLiteral("the value"));
}

/// An argument by what a word's arguments call it: its name in a record, and what \a text is.
std::pair<QString, Result<QVariant>> argumentOf(const QString& called, const QString& text)
{
    if (called == QLatin1String("SECONDS")) {
        return { QStringLiteral("seconds"), secondsOf(text) };
    }
    if (called == QLatin1String("N") || called == QLatin1String("TIMES")) {
        return { QStringLiteral("count"), countOf(text) };
    }
    if (called == QLatin1String("SHAPE")) {
        return { QStringLiteral("signature"), shapeOf(text) };
    }
    if (called == QLatin1String("VALUE")) {
        return { QStringLiteral("value"), text };
    }
    const QString role = called.toLower().replace(QLatin1Char('|'), QLatin1String(" or "));
    return { QStringLiteral("name"), oneOf(membersOf(role), role, text) };
}

QStringList signalsOf(const QString& property)
{
    return property == QLatin1String("wifedsConnected")
        ? QStringList{ QStringLiteral("wifedCmdCtlSockAvailable"), QStringLiteral("wifedCmdCtlSockClosed") }
        : QStringList{ property + QStringLiteral("Changed") };
}

QString textOf(const Fault& fault)
{
    QString text = QLatin1String(fault.word->text);
    const bool tellsCount = text.contains(QLatin1String("{count}"));
    // The value comes last: it may contain anything.
    for (const char* name : { "seconds", "count", "name", "signature", "value" }) {
        const QVariant argument = fault.arguments.value(QLatin1String(name));
        text.replace(QLatin1Char('{') + QLatin1String(name) + QLatin1Char('}'),
                     argument.type() == QVariant::Double ? QString::number(argument.toDouble())
                                                         : argument.toString());
    }
    return fault.count() > 0 && !tellsCount ? QStringLiteral("%1, %2 left").arg(text).arg(fault.count())
                                            : text.trimmed();
}

} // namespace

Result<Fault> Fault::parse(const QStringList& words)
{
    Fault fault{ rowOf(FaultWords, words.value(0)), {}, {} };
    if (fault.word == nullptr) {
        QStringList known = wordsOf(FaultWords);
        known.sort();
        return tl::unexpected(oneOf(known, QStringLiteral("fault"), words.value(0)).error());
    }
    const QString form = QLatin1String(fault.word->arguments);
    const QStringList called =
        QString(form).remove(QLatin1Char('[')).remove(QLatin1Char(']')).split(' ', Qt::SkipEmptyParts);
    const QStringList details = words.mid(1);
    if (details.size() > called.size() || details.size() < called.size() - form.count(QLatin1Char('['))) {
        return wrong(QStringLiteral("a fault is told as \"%1\"")
                         .arg((words.first() + QLatin1Char(' ') + form).trimmed()));
    }
    for (int i = 0; i < details.size(); ++i) {
        const auto [name, value] = argumentOf(called.at(i), details.at(i));
        if (!value) {
            return tl::unexpected(value.error());
        }
        if (!details.at(i).isEmpty()) {
            fault.arguments.insert(name, *value);
        }
    }
    if (fault.word->kind != FaultKind::Payload) {
        return fault;
    }
    return payloadOf(details.at(1), details.value(2)).map([&fault](const QVariant& value) {
        fault.payload = value;
        return fault;
    });
}

std::optional<std::chrono::milliseconds> Fault::duration() const
{
    const QVariant seconds = arguments.value(QStringLiteral("seconds"));
    if (!seconds.isValid()) {
        return {};
    }
    return std::chrono::milliseconds(std::llround(seconds.toDouble() * 1000));
}

void Faults::add(const Fault& fault)
{
    const double number =
        fault.arguments.value(QStringLiteral("seconds"), fault.arguments.value(QStringLiteral("count"), -1))
            .toDouble();
    const std::pair key(fault.word->kind, fault.arguments.value(QStringLiteral("name")).toString());
    m_faults.erase(key);
    if (fault.word->harmless < 0 || number != fault.word->harmless) {
        m_faults.emplace(key, fault);
    }
}

void Faults::keepOnly(FaultKind kind)
{
    for (auto fault = m_faults.begin(); fault != m_faults.end();) {
        fault = fault->first.first == kind ? std::next(fault) : m_faults.erase(fault);
    }
}

const Fault* Faults::find(FaultKind kind, const QString& name) const
{
    const auto found = m_faults.find({ kind, name });
    return found == m_faults.end() ? nullptr : &found->second;
}

std::chrono::milliseconds Faults::durationOf(FaultKind kind) const
{
    const Fault* fault = find(kind);
    return fault == nullptr ? std::chrono::milliseconds(0)
                            : fault->duration().value_or(std::chrono::milliseconds(0));
}

bool Faults::take(FaultKind kind, const QString& signal)
{
    const auto found = m_faults.find({ kind, signal });
    if (found == m_faults.end()) {
        return false;
    }
    const int left = found->second.count() - 1;
    if (left == 0) {
        m_faults.erase(found);
    } else if (left > 0) {
        found->second.arguments[QStringLiteral("count")] = left;
    }
    return true;
}

bool Faults::isSilent(const QString& signal) const
{
    return std::any_of(m_faults.begin(), m_faults.end(), [&](const auto& entry) {
        const auto& [kind, name] = entry.first;
        return kind == FaultKind::SilentProperty && signalsOf(name).contains(signal);
    });
}

QList<QVariantMap> Faults::records() const
{
    QList<QVariantMap> records;
    for (const auto& [key, fault] : m_faults) {
        QVariantMap record = fault.arguments;
        record.insert(QStringLiteral("kind"), QLatin1String(fault.word->word));
        record.insert(QStringLiteral("text"), textOf(fault));
        records << record;
    }
    return records;
}

} // namespace bt
