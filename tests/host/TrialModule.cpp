// A module file that does what a module must not do: $TRIAL_MODULE says what, and the action "fail" when.
#include "ModuleEntry.h"

#include <QTimer>

#include <cstdlib>
#include <stdexcept>

namespace {

QByteArray fault()
{
    return qgetenv("TRIAL_MODULE");
}

[[noreturn]] void throwText()
{
    throw std::runtime_error("the bulb is broken");
}

class TrialModule : public RegistrationModule
{
public:
    TrialModule(const QString& name, QObject* parent)
        : RegistrationModule(name, parent)
    {
        addConfig("level", "Level", 1, EMPTYQS, 1);
        AddActionNullParam("fail", "Fail", [this] { failNow(); });
    }

    void slotLastConfigLoaded() override
    {
        if (fault() == "throws when loaded") {
            throwText();
        }
    }

    void halt() override
    {
        if (fault() == "throws at the end") {
            throwText();
        }
        RegistrationModule::halt();
    }

private:
    void failNow()
    {
        if (fault() == "throws in an action") {
            throwText();
        }
        if (fault() == "throws a number") {
            throw 7;
        }
        if (fault() == "throws later") {
            QTimer::singleShot(0, this, throwText);
        }
        if (fault() == "crashes") {
            std::abort();
        }
    }
};

} // namespace

RegistrationModule* createModule(QObject* parent)
{
    const QByteArray name = fault();
    if (name == "throws") {
        throwText();
    }
    if (name == "throws what is nothing") {
        throw 7;
    }
    if (name == "makes none") {
        return nullptr;
    }
    return new TrialModule(name.startsWith("named ") ? QString(name.mid(6)) : QString("trial"), parent);
}
