#include "DemoFixture.h"
#include "support/Rows.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <vector>

/// Who sends many calls, alone or with others, and what that costs everybody else.
class FloodTest : public DemoFixture
{
    Q_OBJECT

private Q_SLOTS:
    void oneCallerTakesTurnsWithTheOthers()
    {
        constexpr int Calls = 5000;
        const int watches = endsWatched();
        std::vector<QDBusPendingCall> flood;
        flood.reserve(Calls);
        const QDBusConnection flooder = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "flooder");
        const QDBusMessage list = demoRequest("List", { QStringList() });
        for (int i = 0; i < Calls; ++i) {
            flood.push_back(flooder.asyncCall(list));
        }
        const auto isOpen = [](const QDBusPendingCall& one) {
            return !one.isFinished();
        };
        QVERIFY(std::any_of(flood.begin(), flood.end(), isOpen));
        QCOMPARE(*m_client->get("pin"), QVariant("5190"));
        QTRY_VERIFY(std::none_of(flood.begin(), flood.end(), isOpen));
        QMap<QString, int> answers;
        for (const QDBusPendingCall& one : flood) {
            ++answers[one.reply().errorName()];
        }
        const QString refused = "org.freedesktop.DBus.Error.LimitsExceeded";
        QVERIFY2(answers[QString()] >= 128 && answers[refused] > 0,
                 qPrintable(QString::number(answers[refused])));
        QCOMPARE(answers[QString()] + answers[refused], Calls);
        QTRY_COMPARE(endsWatched(), watches); // nothing of the caller is kept

        // One that leaves without its answers.
        const QString name = "leaver";
        for (int i = 0; i < Calls; ++i) {
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, name).asyncCall(list);
        }
        QDBusConnection::disconnectFromBus(name);
        QVERIFY(m_client->list());
        QTRY_COMPARE(endsWatched(), watches);
#ifndef __SANITIZE_ADDRESS__ // which keeps what was freed
        const int memory = largestMemory();
        QVERIFY2(memory > 0 && memory < 64'000, qPrintable(QString::number(memory)));
#endif
    }

    void manyCallersAreBoundedTogether()
    {
        constexpr int Callers = 10;
        constexpr int Calls = 220; // 14 MB, which the bus takes
        const QDBusMessage echo = demoRequest("Trigger", { "echo", QString(65'536, 'x') });
        const auto server = static_cast<pid_t>(m_demo.process().processId());
        QCOMPARE(::kill(server, SIGSTOP), 0);
        auto goesOn = qScopeGuard([server] { ::kill(server, SIGCONT); });
        std::vector<QDBusPendingCall> flood;
        for (int i = 0; i < Calls; ++i) {
            const QString name = QString("one of many %1").arg(i % Callers);
            flood.push_back(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name).asyncCall(echo));
        }
        for (int i = 0; i < Callers; ++i) { // the bus has what it sent before
            const QDBusConnection one(QString("one of many %1").arg(i));
            QVERIFY(one.interface()->isServiceRegistered(DemoBusName));
        }
        QDBusPendingReply<QString> other = QDBusConnection::sessionBus().asyncCall(echo);
        QVERIFY(QDBusConnection::sessionBus().interface()->isServiceRegistered(DemoBusName));
        goesOn.dismiss();
        QCOMPARE(::kill(server, SIGCONT), 0);

        QMap<QString, int> answers;
        for (QDBusPendingCall& one : flood) {
            one.waitForFinished();
            ++answers[one.error().message().left(32)];
        }
        const int refused = answers["Trigger echo is not answered: 79"];
        QVERIFY2(refused > Calls / 4 && refused < Calls / 2, qPrintable(QString::number(refused)));
        QCOMPARE(answers[QString()] + refused, Calls);
        QCOMPARE(other.error().message(), QString());
        QCOMPARE(other.value().size(), 65'536);
        for (int i = 0; i < Callers; ++i) {
            QDBusConnection::disconnectFromBus(QString("one of many %1").arg(i));
        }
        QVERIFY(m_client->trigger("echo", QString(65'536, 'x'))); // there is room again
    }

    void refusalsTakeTurnsWithAnswers_data()
    {
        const Rows<QDBusMessage, int, int, bool> row("call", "calls", "answers", "wait");
        row("small calls", demoRequest("List", { QStringList() }), 1000, 128, true);
        row("large ones, too many to keep", demoRequest("Trigger", { "echo", QString(65'536, 'x') }), 250, 50,
            false);
    }

    // One more call for each answer, as long as it goes: those that are refused at once would come again at
    // once, and everybody's calls would wait behind them.
    void refusalsTakeTurnsWithAnswers()
    {
        QFETCH(QDBusMessage, call);
        QFETCH(int, calls);
        QFETCH(int, answers);
        QFETCH(bool, wait);
        const auto server = static_cast<pid_t>(m_demo.process().processId());
        QCOMPARE(::kill(server, SIGSTOP), 0); // so that all of them are there
        const auto goesOn = qScopeGuard([server] { ::kill(server, SIGCONT); });
        const QDBusConnection flooder = QDBusConnection::sessionBus();
        std::vector<std::unique_ptr<QDBusPendingCallWatcher>> flood;
        int answered = 0;
        QList<int> answeredBefore; // each refusal
        for (int i = 0; i < calls; ++i) {
            flood.push_back(std::make_unique<QDBusPendingCallWatcher>(flooder.asyncCall(call)));
            connect(flood.back().get(), &QDBusPendingCallWatcher::finished, this,
                    [&](QDBusPendingCallWatcher* one) {
                        if (one->isError()) {
                            answeredBefore << answered;
                        } else {
                            ++answered;
                        }
                    });
        }
        QVERIFY(flooder.interface()->isServiceRegistered(DemoBusName));
        QCOMPARE(::kill(server, SIGCONT), 0);
        QTRY_COMPARE(answered + answeredBefore.size(), calls);
        QVERIFY2(answered >= answers && answered < calls * 2 / 3, qPrintable(QString::number(answered)));
        QVERIFY2((answeredBefore.at(60) >= 50) == wait, qPrintable(QString::number(answeredBefore.at(60))));
    }

private:
    /// How many clients the server asks the bus to tell the end of.
    static int endsWatched()
    {
        const QDBusMessage reply = QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules"));
        int count = 0;
        for (const QStringList& rules : qdbus_cast<QMap<QString, QStringList>>(reply.arguments().value(0))) {
            count += rules.filter(",arg2=''").size();
        }
        return count;
    }

    /// Of the server so far, in kB.
    int largestMemory()
    {
        QFile status(QString("/proc/%1/status").arg(m_demo.process().processId()));
        const QString text = status.open(QIODevice::ReadOnly) ? status.readAll() : QString();
        return text.section("VmHWM:", 1).section("kB", 0, 0).toInt();
    }
};

QTEST_GUILESS_MAIN(FloodTest)
#include "FloodTest.moc"
