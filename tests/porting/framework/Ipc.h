// Another release of the service framework, as far as the module uses it: one header instead of several,
// other names for what only a release names, operations that are not const, plain enumerations.
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
    QVariant value() const;
    bool setValue(const QVariant& value, bool announce);
    void setRange(const QVariant& minimum, const QVariant& maximum);
    void setRegularExpression(const QString& expression);
    void setApplicable(bool applicable, bool announce);
};

class Q_DECL_EXPORT EnumType : public QObject
{
public:
    explicit EnumType(QString name, QObject* parent = nullptr);
    void add(const QString& label, const QString& symbol, int value);
};

class Q_DECL_EXPORT ServerModule : public QObject
{
    Q_OBJECT
public:
    static const QString EMPTYQS;
    ServerModule(const QString& moduleName, QObject* parent);

    virtual QString dbusAddress();
    virtual bool isOffered();
    virtual void haltaction();
    virtual void addedToRegistrationModule();
    virtual void beforeReading();
    virtual void beforeWriting();
    virtual void afterWriting();
    virtual void nameTaken();
    virtual bool validateAndApply(const QString& id, const QVariant& value);
    virtual bool isLastConfigShared();
    virtual bool loadConfigurationFile(const QString& path);
    virtual bool saveConfigurationFile(const QString& path);
    virtual void halt();
    virtual bool mayEnd();
    virtual void slotLastConfigLoaded();
    virtual void clientCame();
    virtual QStringList computeSaveConfigIds();
    virtual void idsChosen();
    virtual void ending();

    QList<ServerItem*> addConfig(const QString&, const QString&, const QVariant&, const QString&, unsigned);
    QList<ServerItem*> addStringConfig(const QString&, const QString&, const QString&, const QString&,
                                       unsigned, const QString&);
    QList<ServerItem*> addResult(const QString&, const QString&, const QVariant&, const QString&, unsigned);
    QList<ServerItem*> addStringResult(const QString&, const QString&, const QString&, const QString&,
                                       unsigned, const QString&);
    QList<ServerItem*> addBoolResult(const QString&, const QString&, bool, const QString&, unsigned,
                                     const QString&);
    QList<ServerItem*> addEnumResult(const QString&, const QString&, int, const EnumType&, const QString&,
                                     unsigned);
    static QString concatForInstances(const QStringList&);
    void AddActionNullParam(const QString&, const QString&, const boost::function<void()>&);
    void AddActionStringParam(const QString&, const QString&,
                              const boost::function<std::string(const std::string&)>&);
    void markConfigAsPrivate(const QString&);
    void observeItem(const QString&);
    bool configExists(const QString&);
    ServerItem* config(const QString&);
    bool setConfig(const QString&, const QVariant&, bool);
    bool setResult(const QString&, const QVariant&, bool);
    void setActionApplicable(const QString&, bool);

Q_SIGNALS:
    void itemChanged(const QString& id);
};

class Q_DECL_EXPORT RegistrationModule : public ServerModule
{
    Q_OBJECT
public:
    RegistrationModule(const QString& moduleName, QObject* parent);
    void haltaction() override;
    virtual int exitTimeout();
    virtual void startQView();
    virtual bool needsNoScreen();

protected:
    void timerEvent(QTimerEvent* event) override;
};

enum KELItemStatusFlags { KelBool = 0x1000, KelUnsignedLongLong = 0x20000 };
using KelAggregateDescriptor = std::map<std::string, KELItemStatusFlags>;

class Q_DECL_EXPORT KelAggregate
{
public:
    explicit KelAggregate(std::shared_ptr<const KelAggregateDescriptor> descriptor);
    template <typename T>
    void setPropertyValue(const std::string& name, const T& value)
    {
        m_values[name] = value;
    }
    QVariant toVariant() const;

private:
    std::map<std::string, boost::any> m_values;
};

class Q_DECL_EXPORT KELClientInterface
{
public:
    static KELClientInterface* getSessionBusClient(const QString& name, QObject* parent);
    bool store(const QVariant& value, const QString& item);
};
