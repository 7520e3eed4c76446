#include "BluetoothModule.h"

#include <QVariant>

void BluetoothModule::createConfigs()
{
    addConfig(QStringLiteral("myname"), tr("Local Name"), QStringLiteral(""),
              QStringLiteral("(res.status.value == res.status.enums.eBLUETOOTHSTATUS_ON) "
                             "&& (cfg.enabled.value)"),
              1);
    markConfigAsPrivate(QStringLiteral("myname"));

    addConfig(QStringLiteral("enabled"), tr("Enabled"), false, EMPTYQS, 1);

    ServerItem* const pin =
        addStringConfig(
            QStringLiteral("pinreplycfg"), tr("PIN"), QStringLiteral("5190"),
            QStringLiteral("(res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_PINNEEDED)"), 1,
            EMPTYQS)
            .first();
    pin->setRange(4U, 16U);
    pin->setRegularExpression(QStringLiteral("[0-9]{4,16}"));
    markConfigAsPrivate(QStringLiteral("pinreplycfg"));

    config(enabledConfig())->setApplicable(true, true);
    observeItem(QStringLiteral("enabled"));
    // By name, so that the framework's signal is no symbol that the library needs.
    connect(this, SIGNAL(itemChanged(QString)), this, SLOT(slotItemChanged(QString)));
}

// Reached for every write to "enabled", also of the value that it has: the radio is switched again then.
void BluetoothModule::slotItemChanged(const QString& id)
{
    if (!id.endsWith(QLatin1String(":bluetooth:enabled:"))) {
        return;
    }
    const bool enabled = config(id)->value().toBool();
    if (radioSwitchInhibited) {
        return;
    }
    if (enabled) {
        Enable();
    } else {
        Disable();
    }
}

std::string BluetoothModule::enableConfig()
{
    if (bluetoothIf != nullptr) {
        // A daemon is there already and needs no controller; the answer changes nothing.
        (void)configExists(QStringLiteral("myname"));
    } else if (config(enabledConfig())->value().toBool()) {
        Enable();
    }
    return {};
}
