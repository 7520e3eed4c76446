// Another release of the service framework, as far as the module uses it: one header instead of several,
// other names for what only a release names, plain enumerations. It keeps the values and writes down every
// call; READER is empty, or const for a release whose readers are const.
#pragma once

#include "Record.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <boost/any.hpp>
#include <boost/function.hpp>

#include <map>
#include <memory>
#include <string>

#ifndef READER
#define READER
#endif

class ServerModule;

class Q_DECL_EXPORT ServerItem
{
public:
    ServerItem(const ServerModule& module, const QString& id, const QVariant& value)
        : m_module(module)
        , m_id(id)
        , m_value(value)
    {
    }
    QVariant value() READER
    {
        recording::record("value", m_id, "->", m_value);
        return m_value;
    }
    bool setValue(const QVariant& value, bool flag)
    {
        recording::record("setValue", m_id, value, flag);
        store(value);
        return true;
    }
    void setRange(const QVariant& minimum, const QVariant& maximum)
    {
        recording::record("setRange", m_id, minimum, maximum);
    }
    void setRegularExpression(const QString& text) { recording::record("setRegularExpression", m_id, text); }
    void setApplicable(bool first, bool second) { recording::record("setApplicable", m_id, first, second); }

    void store(const QVariant& value);
    bool observed = false;

private:
    const ServerModule& m_module;
    QString m_id;
    QVariant m_value;
};

class Q_DECL_EXPORT EnumType : public QObject
{
public:
    explicit EnumType(const QString& name, QObject* parent = nullptr)
        : QObject(parent)
    {
        setObjectName(name);
        recording::record("EnumType", name, parent == nullptr ? "no parent" : "parent");
    }
    void add(const QString& label, const QString& symbol, int value)
    {
        recording::record("  add", label, symbol, value);
    }
};

class Q_DECL_EXPORT ServerModule : public QObject
{
    Q_OBJECT
public:
    static inline const QString EMPTYQS = "";
    using Items = QList<ServerItem*>;
    ServerModule(const QString& moduleName, QObject* parent)
        : QObject(parent)
    {
        recording::record("ServerModule", moduleName, parent == nullptr ? "no parent" : "parent");
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
    virtual void clientCame(int) { }
    virtual QStringList computeSaveConfigIds() { return {}; }
    virtual void idsChosen() { }
    virtual void ending() { }

    Items addConfig(const QString& id, const QString& label, const QVariant& value, const QString& applicable,
                    unsigned instances)
    {
        recording::record("addConfig", id, label, value, applicable, instances);
        return add(id, value);
    }
    Items addStringConfig(const QString& id, const QString& label, const QString& text,
                          const QString& applicable, unsigned instances, const QString& further)
    {
        recording::record("addStringConfig", id, label, text, applicable, instances, further);
        return add(id, text);
    }
    void addResult(const QString& id, const QString& label, const QVariant& value, const QString& applicable,
                   unsigned instances)
    {
        recording::record("addResult", id, label, value, applicable, instances);
    }
    void addStringResult(const QString& id, const QString& label, const QString& text,
                         const QString& applicable, unsigned instances, const QString& further)
    {
        recording::record("addStringResult", id, label, text, applicable, instances, further);
    }
    void addBoolResult(const QString& id, const QString& label, bool value, const QString& applicable,
                       unsigned instances, const QString& further)
    {
        recording::record("addBoolResult", id, label, value, applicable, instances, further);
    }
    void addEnumResult(const QString& id, const QString& label, int value, const EnumType& type,
                       const QString& applicable, unsigned instances)
    {
        recording::record("addEnumResult", id, label, value, type.objectName(), applicable, instances);
    }
    /// Written down as the first expression with "%1" for its number, where the others are like it.
    static QString concatForInstances(const QStringList& expressions)
    {
        const QString pattern = expressions.value(0).replace("_0.", "_%1.");
        bool alike = true;
        for (int i = 0; i < expressions.size(); ++i) {
            alike = alike && expressions[i] == QString(pattern).replace("%1", QString::number(i));
        }
        const QString packed = QString("packed %1").arg(recording::lines().filter("packed ").size() / 2 + 1);
        recording::record("concatForInstances", expressions.size(), alike ? pattern : expressions.join(" ; "),
                          "->", packed);
        return packed;
    }
    void AddActionNullParam(const QString& id, const QString& label, const boost::function<void()>& handler)
    {
        recording::record("AddActionNullParam", id, label);
        commands[id] = handler;
    }
    void AddActionStringParam(const QString& id, const QString& label,
                              const boost::function<std::string(const std::string&)>& handler)
    {
        recording::record("AddActionStringParam", id, label);
        textCommands[id] = handler;
    }
    void markConfigAsPrivate(const QString& id) { recording::record("markConfigAsPrivate", id); }
    void observeItem(const QString& id)
    {
        recording::record("observeItem", id);
        item(id)->observed = true;
    }
    bool configExists(const QString& id) READER
    {
        recording::record("configExists", id);
        return item(id) != nullptr;
    }
    ServerItem* config(const QString& id) READER
    {
        recording::record("config", id);
        // One that is not of this module is true.
        const auto other = std::make_shared<ServerItem>(*this, id, true);
        return m_items.emplace(id, other).first->second.get();
    }
    bool setConfig(const QString& id, const QVariant& value, bool flag)
    {
        recording::record("setConfig", id, value, flag);
        if (ServerItem* const config = item(id)) {
            config->store(value);
        }
        return true;
    }
    bool setResult(const QString& id, const QVariant& value, bool flag)
    {
        recording::record("setResult", id, value, flag);
        return true;
    }
    void setActionApplicable(const QString& address, bool applicable)
    {
        recording::record("setActionApplicable", address, applicable);
    }

    // For those who look at it.
    std::map<QString, boost::function<void()>> commands;
    std::map<QString, boost::function<std::string(const std::string&)>> textCommands;

Q_SIGNALS:
    void itemChanged(const QString& id);

private:
    Items add(const QString& id, const QVariant& value)
    {
        const QString address = ":config:bluetoothlauncher:bluetooth:" + id + ':';
        m_items[id] = m_items[address] = std::make_shared<ServerItem>(*this, address, value);
        return { item(id) };
    }
    ServerItem* item(const QString& id) const
    {
        const auto found = m_items.find(id);
        return found == m_items.end() ? nullptr : found->second.get();
    }
    mutable std::map<QString, std::shared_ptr<ServerItem>> m_items; ///< by id and by address
};

inline void ServerItem::store(const QVariant& value)
{
    m_value = value;
    if (observed) {
        Q_EMIT const_cast<ServerModule&>(m_module).itemChanged(m_id);
    }
}

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
    explicit KelAggregate(std::shared_ptr<const KelAggregateDescriptor> descriptor)
    {
        recording::record("KelAggregate");
        for (const auto& [name, flags] : *descriptor) {
            recording::record("  declares", name, "0x" + QString::number(flags, 16));
        }
    }
    template <typename T>
    void setPropertyValue(const std::string& name, const T& value)
    {
        recording::record("setPropertyValue", name, value);
        m_values[name] = value;
    }
    QVariant toVariant() const { return "the record"; }

private:
    std::map<std::string, boost::any> m_values;
};

class Q_DECL_EXPORT KELClientInterface
{
public:
    static inline bool isThere = true;
    static KELClientInterface* getSessionBusClient(const QString& name, QObject* parent)
    {
        recording::record("getSessionBusClient", name, parent == nullptr ? "no parent" : "parent");
        static KELClientInterface client;
        return isThere ? &client : nullptr;
    }
    bool store(const QVariant& value, const QString& item)
    {
        recording::record("store", item, value);
        return true;
    }
};
