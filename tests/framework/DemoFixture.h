#pragma once

#include "client/KELClientInterface.h"
#include "support/DemoServers.h"

#include <QTest>

#include <memory>

/// One server for all tests of a class, and a client of it.
class DemoFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_demo.startBus(), QString());
        QVERIFY(m_demo.start());
        m_client = std::make_unique<KELClientInterface>(DemoBusName, QDBusConnection::sessionBus());
    }

protected:
    DemoServers m_demo;
    std::unique_ptr<KELClientInterface> m_client;
};
