// The verbs of a table that are no actions and no slots of the module.
#include "OddLists.h"
#include "RecordedModule.h"
#include "SystemFunctions.h"
#include "framework/Record.h"

#include <QDBusAbstractInterface>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QPointer>

namespace {

using recording::record;

const QString MarkerFile = "/tmp/bluelock_shutdown";

// Members that nothing shows: what an explicit instantiation names need not be public.
template <typename Type>
struct Member
{
    using Pointer = Type BluetoothModule::*;
};
struct Watcher : Member<QDBusServiceWatcher*>
{
    friend Pointer member(Watcher /*of*/);
};
struct LoanMode : Member<int>
{
    friend Pointer member(LoanMode /*of*/);
};
struct Inhibition : Member<bool>
{
    friend Pointer member(Inhibition /*of*/);
};
template <typename Tag, typename Tag::Pointer Pointer>
struct Shown
{
    friend typename Tag::Pointer member(Tag /*of*/) { return Pointer; }
};
template struct Shown<Watcher, &BluetoothModule::serviceWatcher>;
template struct Shown<LoanMode, &BluetoothModule::lockRequestValue>;
template struct Shown<Inhibition, &BluetoothModule::radioSwitchInhibited>;

void makeMarker(const QString& kind)
{
    QDir().rmdir(MarkerFile);
    QFile::remove(MarkerFile);
    if (kind == "folder") {
        QDir().mkdir(MarkerFile);
    } else if (kind == "link") {
        QFile::link("/etc/passwd", MarkerFile);
    } else if (kind == "file") {
        QFile(MarkerFile).open(QIODevice::WriteOnly);
    }
}

} // namespace

void RecordedModule::addModuleSteps()
{
    m_steps["BluetoothModule"] = [this](const QString& /*none*/) {
        m_module.reset();
        m_module = std::make_unique<BluetoothModule>(this);
    };
    m_steps["requestBluetooth"] = [this](const QString& text) {
        record("reply", m_module->RequestBluetooth(text.toStdString()));
        record("mode", m_module.get()->*member(LoanMode()));
    };
    m_steps.insert("hooks", [this](auto&) { showHooks(); });
    m_steps.insert("~BluetoothModule", [this](auto&) { destroy(); });
    m_steps.insert("renew", [this](auto&) { renew(); });
    m_steps.insert("Enable", [this](auto&) { m_module->Enable(); });
    m_steps.insert("Disable", [this](auto&) { m_module->Disable(); });
    m_steps.insert("ClearResults", [this](auto&) { m_module->ClearResults(); });
    m_steps.insert("enableConfig", [this](auto&) { record("reply", m_module->enableConfig()); });
    m_steps.insert("devices", [this](auto& count) { publishDevices(count.toInt()); });
    m_steps.insert("set", [this](auto& to) { m_module->setConfig("enabled", to == "enabled", true); });
    m_steps.insert("inhibit", [this](auto& to) { m_module.get()->*member(Inhibition()) = to == "on"; });
}

void RecordedModule::addDaemonSteps()
{
    m_steps["answer"] = [this](const QString& text) {
        QStringList words = text.split(' ');
        const QString property = words.takeFirst();
        QVariantList values;
        for (const QString& word : words) {
            values << (word == "list" ? QVariant(QStringList{ "a" }) : QVariant(word.toInt()));
        }
        m_daemon.answer(property, values);
    };
    m_steps["comes"] = [this](const QString& /*none*/) {
        if (!m_daemon.appear() || !Patience::waitFor([this] { return !proxies().isEmpty(); })) {
            record("is not seen");
        }
    };
    m_steps["sendLists"] = [this](const QString& shape) {
        sendSignal("scanResultsChanged", oddlists::ofShape(shape));
        sendSignal("pairListChanged", oddlists::ofShape(shape));
    };
    m_steps["answerLists"] = [this](const QString& shape) {
        m_daemon.answer("scanResults", { oddlists::ofShape(shape) });
        m_daemon.answer("pairList", { oddlists::ofShape(shape) });
    };
    m_steps.insert("send", [this](auto& name) { sendSignal(name, "7"); });
    m_steps.insert("sendMap", [this](auto& name) { sendSignal(name, QVariantMap{ { "a", 1 } }); });
    m_steps.insert("mobileAppGoes", [](auto&) { KELClientInterface::isThere = false; });
}

void RecordedModule::addSystemSteps()
{
    m_steps.insert("fork", [](auto& pid) { SystemFunctions::forked = pid.toInt(); });
    m_steps.insert("popenFails", [](auto&) { SystemFunctions::popenFails = true; });
    m_steps.insert("fopenFails", [](auto&) { SystemFunctions::fopenFails = true; });
    m_steps.insert("unlinkFails", [](auto&) { SystemFunctions::unlinkError = EACCES; });
    m_steps.insert("systemFails", [](auto&) { SystemFunctions::systemStatus = 256; });
    m_steps.insert("noHostname", [](auto&) { SystemFunctions::hostName.clear(); });
    m_steps.insert("hostname", [](auto& name) { SystemFunctions::hostName = name.toUtf8() + '\n'; });
    m_steps.insert("marker", makeMarker);
}

void RecordedModule::showHooks()
{
    const QDBusServiceWatcher* const watcher = m_module.get()->*member(Watcher());
    record("watches", watcher->watchedServices().join(' '), static_cast<int>(watcher->watchMode()),
           watcher->parent() == nullptr ? "no parent" : "parent");
    ServerModule& framework = *m_module;
    record("answer", framework.isOffered(), framework.mayEnd(),
           static_cast<RegistrationModule&>(framework).needsNoScreen());
    framework.beforeReading();
    framework.beforeWriting();
    framework.afterWriting();
    framework.nameTaken();
    framework.clientCame(1);
    framework.idsChosen();
    framework.ending();
}

void RecordedModule::destroy()
{
    const QPointer<QDBusServiceWatcher> watcher = m_module.get()->*member(Watcher());
    m_module.reset();
    record("watcher", watcher ? "stays" : "has gone");
    renew();
}

/// Returns when the module has handled the signal.
void RecordedModule::sendSignal(const QString& name, const QVariant& value)
{
    const int fences = m_fences + 1;
    m_daemon.send(name, value);
    m_daemon.send("fence", 0);
    if (!Patience::waitFor([&] { return m_fences == fences; })) {
        record("is not handled");
    }
}

/// Three are of all kinds; of others the last one is connected.
void RecordedModule::publishDevices(int count)
{
    PairList pairs{ { { Address, "Phone", 0 }, { 7, {}, ~0U }, { Address, "", 0 } } };
    ScanResults scan{ { { Address, -57, "Phone" }, { 7, 0, {} }, { ~0ULL, 12, "%1 %2" } } };
    if (count != 3) {
        pairs.entries = QVector<PairEntry>(count, { 1, "x", 0 }).toList();
        scan.entries = QVector<ScanEntry>(count, { 1, 2, "y" }).toList();
    }
    if (count > 3) {
        pairs.entries.last().connectionState = 8;
    }
    m_module->updatePairList(&pairs);
    m_module->updateScanResults(&scan);
}
