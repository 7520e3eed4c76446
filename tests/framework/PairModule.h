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
        addConfig("left", "Left", 0, EMPTYQS, 1);
        addConfig("right", "Right", 0, EMPTYQS, 1);
    }

    void setPair(int number)
    {
        setConfig("left", number, true);
        setConfig("right", number, true);
    }
    [[nodiscard]] QPair<int, int> pair()
    {
        return { config("left")->value().toInt(), config("right")->value().toInt() };
    }

    void configSaved() override { ++timesSaved; }
    int timesSaved = 0;
};
