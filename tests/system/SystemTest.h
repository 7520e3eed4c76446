#pragma once

#include "SimulatedWorld.h"

#include <QTest>

#include <algorithm>
#include <chrono>

/// A test of a whole world. One fault may well fail every function: each wait in vain is shorter than the one
/// before.
class SystemTest : public QObject
{
    Q_OBJECT

public:
    explicit SystemTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
        m_world.setPatience(m_patience);
    }

private Q_SLOTS:
    void cleanup()
    {
        if (QTest::currentTestFailed()) {
            m_patience = std::max(m_patience / 2, std::chrono::milliseconds(100));
        }
        m_world.setPatience(m_patience);
    }

protected:
    /// What did not happen.
    [[nodiscard]] const char* why()
    {
        m_why = m_world.problem().toUtf8();
        return m_why.constData();
    }

    testkit::SimulatedWorld& m_world;
    std::chrono::milliseconds m_patience{ 5000 };

private:
    QByteArray m_why;
};
