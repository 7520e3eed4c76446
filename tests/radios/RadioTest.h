#pragma once

#include "RadioWorld.h"

#include <QtTest>

/// Scenarios of a world whose radio is on; nothing is paired when one begins.
class RadioTest : public QObject
{
    Q_OBJECT

public:
    explicit RadioTest(RadioWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init() { QVERIFY(m_world.enable(true)); }

protected Q_SLOTS:
    void cleanup()
    {
        QVERIFY(unpairAll(m_world));
        if (QTest::currentTestFailed()) {
            qWarning().noquote() << m_world.output();
        }
    }

protected:
    RadioWorld& m_world;
};
