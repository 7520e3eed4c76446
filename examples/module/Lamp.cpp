// A module: a lamp with a setting, a value and a command. Built as a file of its own it stands beside others
// in a host; main.cpp is a server for it alone.
//
//     $ ./run --module lamp.so -- bash
//     $ itemctl set brightness 80
//     $ itemctl get lamp:watts

#include <ipc/ModuleEntry.h>

class Lamp : public RegistrationModule
{
public:
    explicit Lamp(QObject* parent)
        : RegistrationModule("lamp", parent) // its name in addresses: :config:SERVER:lamp:brightness:
    {
        addConfig("brightness", "Brightness in Percent", 50, EMPTYQS, 1).first()->setRange(0, 100);
        addResult("watts", "Power", 0.0, "cfg.brightness.value > 0", 1); // says nothing of a lamp that is off
        AddActionNullParam("off", "Switch Off", [this] { setConfig("brightness", 0, true); });

        // Whoever writes the config: a client, the action above, or the server that loads what it has stored.
        observeItem("brightness");
        connect(this, &ServerModule::itemChanged, this, [this] { showPower(); });
        showPower();
    }

private:
    void showPower() { setResult("watts", config("brightness")->value().toInt() / 10.0, true); }
};

RegistrationModule* createModule(QObject* parent)
{
    return new Lamp(parent);
}
