#pragma once

#include "RegistrationModule.h"

#include <QPair>

/// Two configs that are always written together.
class PairModule : public RegistrationModule
{
    Q_OBJECT
public:
    explicit PairModule(const QString& name)
        : RegistrationModule(name, nullptr)
    {
        addConfig(QStringLiteral("left"), QStringLiteral("Left"), 0, EMPTYQS, 1);
        addConfig(QStringLiteral("right"), QStringLiteral("Right"), 0, EMPTYQS, 1);
    }

    void setPair(int number)
    {
        setConfig(QStringLiteral("left"), number, true);
        setConfig(QStringLiteral("right"), number, true);
    }
    [[nodiscard]] QPair<int, int> pair() const
    {
        return { config(QStringLiteral("left"))->value().toInt(),
                 config(QStringLiteral("right"))->value().toInt() };
    }

    void configSaved() override { ++timesSaved; }
    int timesSaved = 0;
};
