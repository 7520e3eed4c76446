#pragma once

#include "bus/ItemRecord.h"

#include <QString>
#include <QVariant>
#include <QVector>

#include <optional>

namespace mirror {

/// One item of a server as its clients see it now.
struct Item
{
    QString server; ///< "bluetoothlauncher", as in addresses
    QString address;
    QString kind; ///< "config", "result" or "action"
    QString module;
    QString id; ///< without an index
    std::optional<int> index; ///< of an instance of a list item
    QString label;
    QVariant value; ///< invalid for an action
    QString text; ///< the label of the present value; enumerations only
    QString symbol; ///< likewise
    bool isEnumeration = false;
    bool applicable = true;

    static Item fromRecord(const QString& server, const ipc::ItemRecord& record);

    [[nodiscard]] bool isAction() const { return kind == QLatin1String("action"); }
    /// "pairlistAddr:3"
    [[nodiscard]] QString idWithIndex() const;
    /// "bluetooth:pairlistAddr:3"
    [[nodiscard]] QString shortName() const;
};

using Items = QVector<Item>;

/// Which properties of an item are new.
struct Change
{
    bool value = false;
    bool applicability = false;

    explicit operator bool() const { return value || applicability; }
};

/// Takes over what a change signal says of the item. An announced value counts as a change even when it is
/// the one that the item had: between the two it may have been another.
Change apply(const QVariantMap& changed, Item& item);

/// Takes over the item as a server describes it after its return, and tells what differs.
Change replace(const Item& present, Item& item);

} // namespace mirror
