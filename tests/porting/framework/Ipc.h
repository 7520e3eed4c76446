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

#include <boost/function.hpp>

#include <map>
#include <memory>
#include <string>

#ifndef READER
#define READER
#endif

using recording::record;
using Text = const QString&;

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
        record("value", m_id, "->", m_value);
        return m_value;
    }
    bool setValue(const QVariant& value, bool flag)
    {
        record("setValue", m_id, value, flag);
        store(value);
        return true;
    }
    void setRange(const QVariant& minimum, const QVariant& maximum)
    {
        record("setRange", m_id, minimum, maximum);
    }
    void setRegularExpression(const QString& text) { record("setRegularExpression", m_id, text); }
    void setApplicable(bool first, bool second) { record("setApplicable", m_id, first, second); }

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
        record("EnumType", name, parent == nullptr ? "no parent" : "parent");
    }
    void add(Text label, Text symbol, int value) { record("  add", label, symbol, value); }
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
        record("ServerModule", moduleName, parent == nullptr ? "no parent" : "parent");
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

    Items addConfig(Text id, Text label, const QVariant& value, Text applicable, unsigned instances)
    {
        record("addConfig", id, label, value, applicable, instances);
        return add(id, value);
    }
    Items addStringConfig(Text id, Text label, Text text, Text applicable, unsigned instances, Text further)
    {
        record("addStringConfig", id, label, text, applicable, instances, further);
        return add(id, text);
    }
    void addResult(Text id, Text label, const QVariant& value, Text applicable, unsigned instances)
    {
        record("addResult", id, label, value, applicable, instances);
    }
    void addStringResult(Text id, Text label, Text text, Text applicable, unsigned instances, Text further)
    {
        record("addStringResult", id, label, text, applicable, instances, further);
    }
    void addBoolResult(Text id, Text label, bool value, Text applicable, unsigned instances, Text further)
    {
        record("addBoolResult", id, label, value, applicable, instances, further);
    }
    void addEnumResult(Text id, Text label, int value, const EnumType& type, Text applicable,
                       unsigned instances)
    {
        record("addEnumResult", id, label, value, type.objectName(), applicable, instances);
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
        record("concatForInstances", expressions.size(), alike ? pattern : expressions.join(" ; "), "->",
               packed);
        return packed;
    }
    void AddActionNullParam(Text id, Text label, const boost::function<void()>& handler)
    {
        record("AddActionNullParam", id, label);
        commands[id] = handler;
    }
    void AddActionStringParam(Text id, Text label,
                              const boost::function<std::string(const std::string&)>& handler)
    {
        record("AddActionStringParam", id, label);
        textCommands[id] = handler;
    }
    void markConfigAsPrivate(const QString& id) { record("markConfigAsPrivate", id); }
    void observeItem(Text id)
    {
        record("observeItem", id);
        item(id)->observed = true;
    }
    bool configExists(Text id) READER
    {
        record("configExists", id);
        return item(id) != nullptr;
    }
    ServerItem* config(Text id) READER
    {
        record("config", id);
        // One that is not of this module is true.
        const auto other = std::make_shared<ServerItem>(*this, id, true);
        return m_items.emplace(id, other).first->second.get();
    }
    bool setConfig(Text id, const QVariant& value, bool flag)
    {
        record("setConfig", id, value, flag);
        if (ServerItem* const config = item(id)) {
            config->store(value);
        }
        return true;
    }
    bool setResult(Text id, const QVariant& value, bool flag)
    {
        record("setResult", id, value, flag);
        return true;
    }
    void setActionApplicable(Text address, bool applicable)
    {
        record("setActionApplicable", address, applicable);
    }

    // For those who look at it.
    std::map<QString, boost::function<void()>> commands;
    std::map<QString, boost::function<std::string(const std::string&)>> textCommands;

Q_SIGNALS:
    void itemChanged(const QString& id);

private:
    Items add(Text id, const QVariant& value)
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
        record("KelAggregate");
        for (const auto& [name, flags] : *descriptor) {
            record("  declares", name, "0x" + QString::number(flags, 16));
        }
    }
    template <typename T>
    void setPropertyValue(const std::string& name, const T& value)
    {
        record("setPropertyValue", name, value);
    }
    QVariant toVariant() const { return "the record"; }
};

class Q_DECL_EXPORT KELClientInterface
{
public:
    static inline bool isThere = true;
    static KELClientInterface* getSessionBusClient(const QString& name, QObject* parent)
    {
        record("getSessionBusClient", name, parent == nullptr ? "no parent" : "parent");
        static KELClientInterface client;
        return isThere ? &client : nullptr;
    }
    bool store(const QVariant& value, const QString& item)
    {
        record("store", item, value);
        return true;
    }
};
