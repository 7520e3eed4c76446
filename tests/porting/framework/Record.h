// What the recording framework writes down: one line for each call, with the type and the nullness of its
// arguments.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace recording {

inline QStringList& lines()
{
    static QStringList all;
    return all;
}

/// Runs before each line: what was seen elsewhere meanwhile comes first.
inline std::function<void()>& before()
{
    static std::function<void()> look;
    return look;
}

inline QString shown(const QString& text)
{
    return text.isNull() ? QString("null") : '"' + text + '"';
}
inline QString shown(const char* word)
{
    return word;
}
inline QString shown(bool flag)
{
    return flag ? "true" : "false";
}
inline QString shown(int number)
{
    return QString::number(number);
}
inline QString shown(unsigned number)
{
    return QString::number(number) + 'u';
}
inline QString shown(unsigned long long number)
{
    return QString::number(number) + "ull";
}
inline QString shown(const QVariant& value)
{
    if (!value.isValid()) {
        return "(invalid)";
    }
    const QString text = value.userType() == QMetaType::QString ? shown(value.toString()) : value.toString();
    return QString("(%1)%2").arg(value.typeName(), text);
}
inline QString shown(const std::string& text)
{
    return shown(QString::fromStdString(text));
}

template <typename... Arguments>
void record(const char* operation, const Arguments&... arguments)
{
    if (before()) {
        before()();
    }
    lines() << QStringList{ operation, shown(arguments)... }.join(' ');
}

} // namespace recording
