#include "RequestLimits.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>

namespace ipc::limits {
namespace {

constexpr int ShownLength = 32;

/// Adds up a value as it came from the bus; stops at the first limit that is exceeded.
class Measure
{
public:
    /// Which limit; empty when all are kept.
    [[nodiscard]] const QString& exceeded() const { return m_exceeded; }
    [[nodiscard]] qint64 characters() const { return m_characters; }

    void add(const QVariant& value, int depth)
    {
        if (!enter(depth)) {
            return;
        }
        const int type = value.userType();
        if (type == QMetaType::QString) {
            addText(value.toString().size());
        } else if (type == QMetaType::QByteArray) {
            addText(value.toByteArray().size());
        } else if (type == QMetaType::QStringList) {
            for (const QString& text : value.toStringList()) {
                add(text, depth + 1);
            }
        } else if (type == qMetaTypeId<QDBusObjectPath>()) {
            addText(value.value<QDBusObjectPath>().path().size());
        } else if (type == qMetaTypeId<QDBusSignature>()) {
            addText(value.value<QDBusSignature>().signature().size());
        } else if (type == qMetaTypeId<QDBusVariant>()) {
            add(value.value<QDBusVariant>().variant(), depth + 1);
        } else if (type == qMetaTypeId<QDBusArgument>()) {
            addContainer(value.value<QDBusArgument>(), depth + 1);
        }
    }

private:
    bool enter(int depth)
    {
        if (!m_exceeded.isEmpty()) {
            return false;
        }
        if (depth > Depth) {
            m_exceeded =
                QStringLiteral("it is nested deeper than %1 levels of containers and variants").arg(Depth);
        } else if (++m_values > Values) {
            m_exceeded = QStringLiteral("it holds more than %1 keys, elements and values").arg(Values);
        }
        return m_exceeded.isEmpty();
    }

    void addText(int length)
    {
        m_characters += length;
        if (m_characters > TextLength) {
            m_exceeded = QStringLiteral("it holds more than %1 characters").arg(TextLength);
        }
    }

    /// @param container a copy: reading moves on.
    void addContainer(const QDBusArgument& container, int depth)
    {
        switch (container.currentType()) {
        case QDBusArgument::ArrayType:
            container.beginArray();
            addRest(container, depth);
            container.endArray(); // what is begun and not ended is never freed
            break;
        case QDBusArgument::StructureType:
            container.beginStructure();
            addRest(container, depth);
            container.endStructure();
            break;
        case QDBusArgument::MapType:
            container.beginMap();
            while (!container.atEnd() && m_exceeded.isEmpty()) {
                container.beginMapEntry();
                addRest(container, depth);
                container.endMapEntry();
            }
            container.endMap();
            break;
        default:
            addRest(container, depth);
        }
    }

    void addRest(const QDBusArgument& container, int depth)
    {
        while (!container.atEnd() && m_exceeded.isEmpty()) {
            add(container.asVariant(), depth);
        }
    }

    int m_values = 0;
    qint64 m_characters = 0;
    QString m_exceeded;
};

Error exceeded(const QString& text)
{
    return { Error::Kind::Refused, text };
}

Outcome<Done> checkLength(const QString& what, const QString& text)
{
    if (text.size() <= NameLength) {
        return Done();
    }
    return exceeded(
        QStringLiteral("%1 \"%2…\" has %3 characters; at most %4 are allowed")
            .arg(what, text.left(ShownLength), QString::number(text.size()), QString::number(NameLength)));
}

} // namespace

Outcome<Done> checkName(const QString& name)
{
    return checkLength(QStringLiteral("the name"), name);
}

Outcome<Done> checkPatterns(const QStringList& patterns)
{
    if (patterns.size() > Patterns) {
        return exceeded(QStringLiteral("there are %1 patterns; at most %2 are allowed")
                            .arg(patterns.size())
                            .arg(Patterns));
    }
    for (const QString& pattern : patterns) {
        if (auto checked = checkLength(QStringLiteral("the pattern"), pattern); !checked) {
            return checked;
        }
    }
    return Done();
}

Outcome<Done> checkText(const QString& action, const QString& text)
{
    if (auto checked = checkName(action); !checked || text.size() <= TextLength) {
        return checked;
    }
    return exceeded(
        QStringLiteral("%1 is not called with this text: it has %2 characters; at most %3 are allowed")
            .arg(action, QString::number(text.size()), QString::number(TextLength)));
}

Outcome<Done> checkValue(const QString& item, const QVariant& value)
{
    if (auto checked = checkName(item); !checked) {
        return checked;
    }
    Measure measure;
    measure.add(value, 0);
    return measure.exceeded().isEmpty()
        ? Outcome<Done>(Done())
        : exceeded(QStringLiteral("%1 keeps its value: %2").arg(item, measure.exceeded()));
}

qint64 characters(const QVariant& value)
{
    Measure measure;
    measure.add(value, 0);
    return measure.characters();
}

} // namespace ipc::limits
