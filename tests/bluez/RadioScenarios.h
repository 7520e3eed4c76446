#pragma once

#include "RadioWorld.h"

#include <QObject>

/// What every radio does alike, seen through module, host and items.
class RadioScenarios : public QObject
{
    Q_OBJECT

public:
    explicit RadioScenarios(RadioWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();
    void scanFinds();
    void pairs_data();
    void pairs();
    void pairsWithNoAddress();
    void connectsAndDisconnects();
    void isAskedToPair_data();
    void isAskedToPair();
    void losesTheLink();

private:
    RadioWorld& m_world;
};
