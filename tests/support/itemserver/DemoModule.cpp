#include "DemoModule.h"

#include <QDebug>

#include <unistd.h>

namespace {

constexpr unsigned Rows = 4;
const QString WhileOn = "(res.state.value == res.state.enums.eDEMO_STATE_ON) && (cfg.enabled.value)";

} // namespace

DemoModule::DemoModule(const QString& name, QObject* parent)
    : RegistrationModule(name, parent)
{
    addConfigs();
    addResults();
    addActions();
    observeItem("enabled");
    connect(this, &ServerModule::itemChanged, this, [this](const QString& id) {
        qInfo().noquote() << "itemChanged" << id << config(id)->value().toString();
    });
}

void DemoModule::addConfigs()
{
    addConfig("enabled", "Enabled", false, EMPTYQS, 1);
    ServerItem* pin = addStringConfig("pin", "PIN", "5190", WhileOn, 1, "4 to 8 digits").first();
    pin->setRange(4U, 8U);
    pin->setRegularExpression("[0-9]{4,8}");
    markConfigAsPrivate("pin");
    addConfig("volume", "Volume", 5, EMPTYQS, 1).first()->setRange(0, 10);
}

void DemoModule::addResults()
{
    EnumType state("eState", nullptr);
    state.add("Off", "DEMO_STATE_OFF", 0);
    state.add("On", "DEMO_STATE_ON", 3);
    state.add("Gone Wrong", "DEMO_STATE_FAILED", 200);
    addEnumResult("state", "State", 0, state, EMPTYQS, 1);
    addResult("serial", "Serial Number", QVariant(18446744073709551615ULL), EMPTYQS, 1);
    addResult("record", "Record", QVariant(), EMPTYQS, 1);
    openResultToClients("record");
    addResult("volume", "Measured Volume", 0, EMPTYQS, 1);
    QStringList rows;
    for (unsigned i = 0; i < Rows; ++i) {
        rows << QString("(res.rowName_%1.value != \"\") && (cfg.enabled.value)").arg(i);
    }
    addStringResult("rowName", "Name", EMPTYQS, concatForInstances(rows), Rows, EMPTYQS);
    addEnumResult("rowState", "Row State", 0, state, concatForInstances(rows), Rows);
}

void DemoModule::addActions()
{
    AddActionNullParam("fork", "Fork and Return", [this] { forkAndReturn(); });
    AddActionNullParam("crash", "End at Once", [] { _exit(3); });
    AddActionStringParam("echo", "Echo", [](const std::string& text) { return text; });
    AddActionStringParam("write", "Write an Item: ID=VALUE",
                         [this](const std::string& text) { return writeResult(text); });
    AddActionStringParam("writemany", "Write All Rows",
                         [this](const std::string& text) { return writeMany(text); });
    AddActionNullParam("stall", "Never Answer", [] { pause(); });
}

std::string DemoModule::writeResult(const std::string& text)
{
    const QString request = QString::fromStdString(text);
    if (!request.contains('=')) { // IDS*LENGTH: texts larger than a call may carry
        for (const QString& item : request.section('*', 0, 0).split(' ')) {
            setResult(item, QString(request.section('*', 1).toInt(), 'x'), true);
        }
        return {};
    }
    const QString id = request.section('=', 0, 0);
    const QString value = request.section('=', 1);
    if (configExists(id)) {
        setConfig(id, value, true);
    } else {
        setResult(id, value, true);
    }
    return {};
}

/// Writes every row once more; all but the first with the value that it has.
std::string DemoModule::writeMany(const std::string& text)
{
    for (unsigned i = 0; i < Rows; ++i) {
        setResult(QString("rowName:%1").arg(i), i == 0 ? QString::fromStdString(text) : QString(), true);
        setResult(QString("rowState:%1").arg(i), "0", true);
    }
    return "written";
}

void DemoModule::forkAndReturn()
{
    const pid_t child = fork();
    if (child == 0) {
        return; // as a module does whose program cannot be executed
    }
    setResult("serial", static_cast<qulonglong>(child), true);
}
