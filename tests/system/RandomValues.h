#pragma once

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>
#include <QVariant>

#include <cmath>
#include <limits>
#include <random>

/// Arguments of calls: mostly of the right type, often not of a sensible value. The same seed, the same
/// values.
class RandomValues
{
public:
    /// @param names texts that mean something to whom is called
    RandomValues(unsigned seed, QStringList names)
        : m_generator(seed)
        , m_names(std::move(names))
    {
    }

    std::size_t below(std::size_t end) { return m_generator() % end; }

    QVariantList values(const QStringList& signatures)
    {
        QVariantList values;
        for (const QString& signature : signatures) {
            values << value(below(20) == 0 ? anySignature() : signature);
        }
        if (below(20) == 0) {
            values << value(anySignature());
        }
        return values;
    }

private:
    template <typename T>
    T one(std::initializer_list<T> of)
    {
        return of.begin()[below(of.size())];
    }

    QString anySignature()
    {
        return one<QString>({ "s", "i", "u", "b", "t", "d", "as", "a{sv}", "av", "v", "o", "ay" });
    }

    QString text()
    {
        if (below(3) != 0) {
            return m_names.at(static_cast<int>(below(static_cast<std::size_t>(m_names.size()))));
        }
        return one<QString>({ "", ":", "*", "/", "-1", "00:11:22:33:44:02", "true", "{}", "[[[[", "../../x",
                              "%s%n", QString::fromUtf8("\x1b[31m\u202e\u200b\xf0\x9f\x94\x8a"),
                              QString(QChar(0xd800)), QString(300, 'x'), QString(70'000, 'y'),
                              QString(9'000, '[') });
    }

    QVariant value(const QString& signature, int depth = 0)
    {
        if (signature == "s") {
            return text();
        }
        if (signature == "o") {
            return QVariant::fromValue(QDBusObjectPath("/tov/base/Items"));
        }
        if (signature == "as") {
            QStringList texts;
            for (std::size_t i = below(5) == 0 ? 70 : below(4); i > 0; --i) {
                texts << text();
            }
            return texts;
        }
        if (signature == "ay") {
            return QByteArray(static_cast<int>(below(1000)), '\0');
        }
        if (signature == "av" || signature == "a{sv}") {
            QVariantMap map;
            for (std::size_t i = below(4); depth < 20 && i > 0; --i) {
                map.insert(text(), value(anySignature(), depth + 1));
            }
            return signature == "av" ? QVariant(map.values()) : QVariant(map);
        }
        if (signature == "v") {
            return QVariant::fromValue(
                QDBusVariant(value(depth > 20 ? QString("s") : anySignature(), depth + 1)));
        }
        return number(signature);
    }

    QVariant number(const QString& signature)
    {
        const auto bits = static_cast<qulonglong>(m_generator()) << below(33);
        if (signature == "d") {
            return one({ std::nan(""), -1.0, 0.0, 0.5, 3.0, 1e300, std::numeric_limits<double>::infinity() });
        }
        if (signature == "i") {
            return static_cast<int>(bits) >> below(32);
        }
        if (signature == "u") {
            return static_cast<uint>(bits);
        }
        return signature == "b" ? QVariant(bits % 2 == 0) : QVariant(bits);
    }

    std::mt19937 m_generator;
    QStringList m_names;
};
