#pragma once

#include "IpcExport.h"

#include <QVariant>
#include <QVariantMap>

#include <map>
#include <memory>
#include <string>

/// Bits that describe an item. Those that name the type of an aggregate's property:
enum class KELItemStatusFlags : unsigned {
    Bool = 0x1000,
    UnsignedLongLong = 0x20000,
};

/// The properties that an aggregate may hold: name and type of each.
using KelAggregateDescriptor = std::map<std::string, KELItemStatusFlags>;

/// A record of named values, as one module hands it to another.
class IPC_EXPORT KelAggregate
{
public:
    /// @param descriptor the properties that the record may have; all are empty at first.
    explicit KelAggregate(std::shared_ptr<const KelAggregateDescriptor> descriptor);

    /// Replaces a property's value. Where the descriptor does not give that name exactly the flag of T, a
    /// warning and nothing else. T is bool or unsigned long long.
    template <typename T>
    void setPropertyValue(const std::string& name, const T& value);

    /// The record for transport: a map from name to value, without the properties that are still empty.
    [[nodiscard]] QVariant toVariant() const;

private:
    std::shared_ptr<const KelAggregateDescriptor> m_descriptor;
    QVariantMap m_values;
};

extern template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name, const bool& value);
extern template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name,
                                                               const unsigned long long& value);
