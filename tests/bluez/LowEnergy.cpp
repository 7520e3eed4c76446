#include "LowEnergy.h"

#include <QtTest>

namespace {

const QString PairState = QStringLiteral("pairstate");
const QString Finder = QStringLiteral("scanresultsAddr");

} // namespace

void LowEnergy::init()
{
    QVERIFY(m_world.enable(true));
}

void LowEnergy::cleanup()
{
    m_guest.second().beClassic();
    QVERIFY(unpairAll(m_world));
    if (QTest::currentTestFailed()) {
        qWarning().noquote() << m_world.output();
    }
}

// Emulated controllers may need more than one scan to hear an advertisement.
bool LowEnergy::askToPair(const QString& capability, const QString& question)
{
    constexpr int Scans = 4;
    const QString device = m_guest.lowEnergyDevice(capability);
    for (int scan = 0; scan < Scans && m_world.row(Finder, device) < 0; ++scan) {
        RadioWorld::trigger(QStringLiteral("scan"));
        if (!m_world.await(QStringLiteral("scanstate"), QStringLiteral("Scanning")) || !m_world.await([&] {
                return m_world.row(Finder, device) >= 0
                    || m_world.text(QStringLiteral("scanstate")) == QLatin1String("Scan Complete");
            })) {
            return false;
        }
    }
    RadioWorld::trigger(QStringLiteral("pair"), device);
    return m_world.await(PairState, question);
}

void LowEnergy::typesWhatTheyShow_data()
{
    QTest::addColumn<bool>("right");
    QTest::addColumn<QString>("end");
    QTest::newRow("right") << true << "Paired";
    QTest::newRow("wrong") << false << "Failed Authentication";
}

void LowEnergy::typesWhatTheyShow()
{
    QFETCH(bool, right);
    QFETCH(QString, end);
    QVERIFY(askToPair(QStringLiteral("DisplayOnly"), QStringLiteral("PIN Needed")));
    const SecondRadio& second = m_guest.second();
    QTRY_VERIFY_WITH_TIMEOUT(!second.shownCode().isEmpty(), 60'000);
    const QString other =
        second.shownCode() == QLatin1String("000000") ? QStringLiteral("000001") : QStringLiteral("000000");
    RadioWorld::trigger(QStringLiteral("pinreply"), right ? second.shownCode() : other);
    QVERIFY(m_world.await(PairState, end));
}

void LowEnergy::showsWhatTheyType()
{
    QVERIFY(askToPair(QStringLiteral("KeyboardOnly"), QStringLiteral("Need Confirmation")));
    QVERIFY(m_guest.second().type(m_world.text(QStringLiteral("confirmationcode"))));
    QVERIFY(m_world.await(PairState, QStringLiteral("Paired")));
    QCOMPARE(m_world.text(QStringLiteral("confirmationcode")), QString());
}
