// Another release of the service framework, as far as the module uses it: one header instead of several,
// other names for what only a release names, operations that are not const, plain enumerations. Enough to
// build against; nothing of it is ever called.
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <boost/any.hpp>
#include <boost/function.hpp>

#include <map>
#include <memory>
#include <string>

class Q_DECL_EXPORT ServerItem
{
public:
    QVariant value() const { return {}; }
    bool setValue(const QVariant&, bool) { return false; }
    void setRange(const QVariant&, const QVariant&) { }
    void setRegularExpression(const QString&) { }
    void setApplicable(bool, bool) { }
};

class Q_DECL_EXPORT EnumType : public QObject
{
public:
    explicit EnumType(const QString& name, QObject* parent = nullptr)
        : QObject(parent)
    {
        setObjectName(name);
    }
    void add(const QString&, const QString&, int) { }
};

class Q_DECL_EXPORT ServerModule : public QObject
{
    Q_OBJECT
public:
    static inline const QString EMPTYQS;
    using Items = QList<ServerItem*>;
    ServerModule(const QString& moduleName, QObject* parent)
        : QObject(parent)
    {
        setObjectName(moduleName);
    }

    virtual QString dbusAddress() { return {}; }
    virtual bool isOffered() { return false; }
    virtual void haltaction() { }
    virtual void addedToRegistrationModule() { }
    virtual void beforeReading() { }
    virtual void beforeWriting() { }
    virtual void afterWriting() { }
    virtual void nameTaken() { }
    virtual bool validateAndApply(const QString&, const QVariant&) { return false; }
    virtual bool isLastConfigShared() { return false; }
    virtual bool loadConfigurationFile(const QString&) { return false; }
    virtual bool saveConfigurationFile(const QString&) { return false; }
    virtual void halt() { }
    virtual bool mayEnd() { return false; }
    virtual void slotLastConfigLoaded() { }
    virtual void clientCame() { }
    virtual QStringList computeSaveConfigIds() { return {}; }
    virtual void idsChosen() { }
    virtual void ending() { }

    Items addConfig(const QString&, const QString&, const QVariant&, const QString&, unsigned) { return {}; }
    Items addStringConfig(const QString&, const QString&, const QString&, const QString&, unsigned,
                          const QString&)
    {
        return {};
    }
    Items addResult(const QString&, const QString&, const QVariant&, const QString&, unsigned) { return {}; }
    Items addStringResult(const QString&, const QString&, const QString&, const QString&, unsigned,
                          const QString&)
    {
        return {};
    }
    Items addBoolResult(const QString&, const QString&, bool, const QString&, unsigned, const QString&)
    {
        return {};
    }
    Items addEnumResult(const QString&, const QString&, int, const EnumType&, const QString&, unsigned)
    {
        return {};
    }
    static QString concatForInstances(const QStringList&) { return {}; }
    void AddActionNullParam(const QString&, const QString&, const boost::function<void()>&) { }
    void AddActionStringParam(const QString&, const QString&,
                              const boost::function<std::string(const std::string&)>&)
    {
    }
    void markConfigAsPrivate(const QString&) { }
    void observeItem(const QString&) { }
    bool configExists(const QString&) { return false; }
    ServerItem* config(const QString&) { return nullptr; }
    bool setConfig(const QString&, const QVariant&, bool) { return false; }
    bool setResult(const QString&, const QVariant&, bool) { return false; }
    void setActionApplicable(const QString&, bool) { }

Q_SIGNALS:
    void itemChanged(const QString& id);
};

class Q_DECL_EXPORT RegistrationModule : public ServerModule
{
    Q_OBJECT
public:
    RegistrationModule(const QString& moduleName, QObject* parent)
        : ServerModule(moduleName, parent)
    {
    }
    void haltaction() override { }
    virtual int exitTimeout() { return 0; }
    virtual void startQView() { }
    virtual bool needsNoScreen() { return false; }

protected:
    void timerEvent(QTimerEvent*) override { }
};

enum KELItemStatusFlags { KelBool = 0x1000, KelUnsignedLongLong = 0x20000 };
using KelAggregateDescriptor = std::map<std::string, KELItemStatusFlags>;

class Q_DECL_EXPORT KelAggregate
{
public:
    explicit KelAggregate(std::shared_ptr<const KelAggregateDescriptor>) { }
    template <typename T>
    void setPropertyValue(const std::string& name, const T& value)
    {
        m_values[name] = value;
    }
    QVariant toVariant() const { return {}; }

private:
    std::map<std::string, boost::any> m_values;
};

class Q_DECL_EXPORT KELClientInterface
{
public:
    static KELClientInterface* getSessionBusClient(const QString&, QObject*) { return {}; }
    bool store(const QVariant&, const QString&) { return false; }
};
