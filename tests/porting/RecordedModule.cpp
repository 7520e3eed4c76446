#include "RecordedModule.h"

#include "SystemFunctions.h"
#include "framework/Record.h"

#include <QAbstractEventDispatcher>
#include <QDBusAbstractInterface>
#include <QMetaMethod>
#include <QScopedValueRollback>

namespace {

using recording::record;

/// The intervals of the single-shot timers that run, in milliseconds; they end with that.
void recordTimers()
{
    QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    const QObjectList owners = dispatcher->children();
    for (QObject* owner : owners) {
        for (const auto& timer : dispatcher->registeredTimers(owner)) {
            record("timer", timer.interval);
            dispatcher->unregisterTimer(timer.timerId);
        }
    }
}

} // namespace

RecordedModule::RecordedModule(const QString& busAddress)
    : m_daemon(busAddress)
{
    QDBusConnection::systemBus().connect({}, "/com/qarn/Bluetooth", "com.qarn.bluetooth", "fence", this,
                                         SLOT(passFence()));
    addModuleSteps();
    addDaemonSteps();
    addSystemSteps();
    recording::before() = [this] {
        look(m_isActing);
    };
}

void RecordedModule::begin()
{
    SystemFunctions::hostName = "inst42\n";
    SystemFunctions::popenFails = SystemFunctions::fopenFails = false;
    SystemFunctions::systemStatus = SystemFunctions::unlinkError = 0;
    SystemFunctions::forked = 4711;
    SystemFunctions::areRecorded = true;
    KELClientInterface::isThere = true;
    answerUsual();
    m_daemon.answerWhen(&m_returned);
    m_proxies = 0;
    renew();
    recording::lines().clear();
}

void RecordedModule::end()
{
    m_module.reset(); // whatever it does then reaches nobody
    SystemFunctions::areRecorded = false;
    m_daemon.leave();
}

bool RecordedModule::perform(const QString& step)
{
    recording::lines() << "# " + step;
    const QString verb = step.section(' ', 0, 0);
    const QString argument = step.mid(verb.size() + 1).replace("\\0", QChar(0));
    m_returned.acquire(m_returned.available());
    const bool isDone = doSpecial(verb, argument) || act(verb, argument) || invokeSlot(verb, argument);
    look(true);
    recordTimers();
    return isDone;
}

bool RecordedModule::doSpecial(const QString& verb, const QString& argument)
{
    const auto step = m_steps.constFind(verb);
    if (step == m_steps.constEnd()) {
        return false;
    }
    (*step)(argument);
    return true;
}

bool RecordedModule::act(const QString& verb, const QString& argument)
{
    const QScopedValueRollback<bool> acting(m_isActing, true);
    if (const auto command = m_module->commands.find(verb); command != m_module->commands.end()) {
        command->second();
        return true;
    }
    const auto command = m_module->textCommands.find(verb);
    if (command == m_module->textCommands.end()) {
        return false;
    }
    record("reply", command->second(argument.toStdString()));
    return true;
}

bool RecordedModule::invokeSlot(const QString& name, const QString& argument)
{
    const QVariantList values{ 3,
                               99,
                               100,
                               -1,
                               2U,
                               Address,
                               true,
                               2.6,
                               "text",
                               " \t",
                               "201",
                               "",
                               QString(),
                               QByteArray("2"),
                               "`,.\";00!a`,.\";00!",
                               "`,.\";0`,.\";00",
                               QStringList{ "a" },
                               QVariantMap{ { "a", 1 } },
                               QVariant::fromValue(QDBusArgument()) };
    const QMetaObject& meta = BluetoothModule::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod slot = meta.method(i);
        if (slot.name() != name) {
            continue;
        }
        if (slot.parameterTypes().value(0) != "QDBusVariant") {
            return slot.parameterCount() == 0 ? slot.invoke(m_module.get())
                                              : slot.invoke(m_module.get(), Q_ARG(QString, argument));
        }
        for (const QVariant& value : values) {
            record(" with", value);
            slot.invoke(m_module.get(), Q_ARG(QDBusVariant, QDBusVariant(value)));
        }
        return true;
    }
    return false;
}

void RecordedModule::renew()
{
    const int before = recording::lines().size();
    m_module = std::make_unique<BluetoothModule>(this);
    recording::lines().erase(recording::lines().begin() + before, recording::lines().end());
}

void RecordedModule::answerUsual()
{
    m_daemon.answer("status", { 3 });
    m_daemon.answer("scanState", { 1, 2 });
    m_daemon.answer("pairState", { 0 });
    m_daemon.answer("confirmationCode", { "123456" });
    m_daemon.answer("myName", { "radio" });
    m_daemon.answer("wifedsConnected", { "a,b" });
    m_daemon.answer("scanResults", { QVariant::fromValue(ScanResults{ { { Address, -57, "Phone" } } }) });
    m_daemon.answer("pairList", { QVariant::fromValue(PairList{ { { Address, "Phone", 1 } } }) });
}

void RecordedModule::look(bool atRequests)
{
    m_returned.release(10);
    const auto found = proxies();
    if (m_module && found.size() != m_proxies) {
        recording::lines() << QString("  proxies: %1").arg(m_proxies = found.size());
    }
    const QStringList reads = m_daemon.takeReads();
    for (const QString& property : reads) {
        recording::lines() << "  reads " + property;
    }
    if (found.isEmpty() || !atRequests) {
        return;
    }
    static_cast<void>(found.first()->property("myAddress")); // answered after all that was sent before
    m_daemon.takeReads();
    for (const ScriptedDaemon::Call& call : m_daemon.takeCalls()) {
        QStringList words{ "  sends", call.member, call.signature };
        for (const QVariant& argument : call.arguments) {
            words << recording::shown(argument);
        }
        recording::lines() << words.join(' ');
    }
}

QList<QDBusAbstractInterface*> RecordedModule::proxies() const
{
    return m_module ? m_module->findChildren<QDBusAbstractInterface*>() : QList<QDBusAbstractInterface*>();
}
