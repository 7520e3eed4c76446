#include "DemoModule.h"

#include <QDebug>

#include <unistd.h>

namespace {

constexpr unsigned Rows = 4;
const QString WhileOn =
    QStringLiteral("(res.state.value == res.state.enums.eDEMO_STATE_ON) && (cfg.enabled.value)");

} // namespace

DemoModule::DemoModule(const QString& name, QObject* parent)
    : RegistrationModule(name, parent)
{
    addConfigs();
    addResults();
    addActions();
    observeItem(QStringLiteral("enabled"));
    connect(this, &ServerModule::itemChanged, this, [this](const QString& id) {
        qInfo().noquote() << "itemChanged" << id << config(id)->value().toString();
    });
}

void DemoModule::addConfigs()
{
    addConfig(QStringLiteral("enabled"), QStringLiteral("Enabled"), false, EMPTYQS, 1);
    ServerItem* pin = addStringConfig(QStringLiteral("pin"), QStringLiteral("PIN"), QStringLiteral("5190"),
                                      WhileOn, 1, QStringLiteral("4 to 8 digits"))
                          .first();
    pin->setRange(4U, 8U);
    pin->setRegularExpression(QStringLiteral("[0-9]{4,8}"));
    markConfigAsPrivate(QStringLiteral("pin"));
    addConfig(QStringLiteral("volume"), QStringLiteral("Volume"), 5, EMPTYQS, 1).first()->setRange(0, 10);
}

void DemoModule::addResults()
{
    EnumType state(QStringLiteral("eState"), nullptr);
    state.add(QStringLiteral("Off"), QStringLiteral("DEMO_STATE_OFF"), 0);
    state.add(QStringLiteral("On"), QStringLiteral("DEMO_STATE_ON"), 3);
    state.add(QStringLiteral("Gone Wrong"), QStringLiteral("DEMO_STATE_FAILED"), 200);
    addEnumResult(QStringLiteral("state"), QStringLiteral("State"), 0, state, EMPTYQS, 1);
    addResult(QStringLiteral("serial"), QStringLiteral("Serial Number"), QVariant(18446744073709551615ULL),
              EMPTYQS, 1);
    addResult(QStringLiteral("record"), QStringLiteral("Record"), QVariant(), EMPTYQS, 1);
    openResultToClients(QStringLiteral("record"));
    addResult(QStringLiteral("volume"), QStringLiteral("Measured Volume"), 0, EMPTYQS, 1);
    QStringList rows;
    for (unsigned i = 0; i < Rows; ++i)
        rows << QStringLiteral("(res.rowName_%1.value != \"\") && (cfg.enabled.value)").arg(i);
    addStringResult(QStringLiteral("rowName"), QStringLiteral("Name"), EMPTYQS, concatForInstances(rows),
                    Rows, EMPTYQS);
    addEnumResult(QStringLiteral("rowState"), QStringLiteral("Row State"), 0, state, concatForInstances(rows),
                  Rows);
}

void DemoModule::addActions()
{
    AddActionNullParam(QStringLiteral("fork"), QStringLiteral("Fork and Return"),
                       [this] { forkAndReturn(); });
    AddActionNullParam(QStringLiteral("crash"), QStringLiteral("End at Once"), [] { _exit(3); });
    AddActionStringParam(QStringLiteral("echo"), QStringLiteral("Echo"),
                         [](const std::string& text) { return text; });
    AddActionStringParam(QStringLiteral("write"), QStringLiteral("Write an Item: ID=VALUE"),
                         [this](const std::string& text) { return writeResult(text); });
    AddActionStringParam(QStringLiteral("writemany"), QStringLiteral("Write All Rows"),
                         [this](const std::string& text) { return writeMany(text); });
    AddActionNullParam(QStringLiteral("stall"), QStringLiteral("Never Answer"), [] { pause(); });
}

std::string DemoModule::writeResult(const std::string& text)
{
    const QString request = QString::fromStdString(text);
    const QString id = request.section(QLatin1Char('='), 0, 0);
    const QString value = request.section(QLatin1Char('='), 1);
    if (configExists(id))
        setConfig(id, value, true);
    else
        setResult(id, value, true);
    return {};
}

/// Writes every row once more; all but the first with the value that it has.
std::string DemoModule::writeMany(const std::string& text)
{
    for (unsigned i = 0; i < Rows; ++i) {
        setResult(QStringLiteral("rowName:%1").arg(i), i == 0 ? QString::fromStdString(text) : QString(),
                  true);
        setResult(QStringLiteral("rowState:%1").arg(i), QStringLiteral("0"), true);
    }
    return "written";
}

void DemoModule::forkAndReturn()
{
    const pid_t child = fork();
    if (child == 0)
        return; // as a module does whose program cannot be executed
    setResult(QStringLiteral("serial"), static_cast<qulonglong>(child), true);
}
