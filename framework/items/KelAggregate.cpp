#include "KelAggregate.h"

#include <QDebug>
#include <QString>
#include <QVariantMap>

namespace {

template <typename T>
constexpr KELItemStatusFlags FlagOf = KELItemStatusFlags{};
template <>
constexpr KELItemStatusFlags FlagOf<bool> = KELItemStatusFlags::Bool;
template <>
constexpr KELItemStatusFlags FlagOf<unsigned long long> = KELItemStatusFlags::UnsignedLongLong;

QVariant toVariant(const boost::any& value)
{
    if (const auto* flag = boost::any_cast<bool>(&value)) {
        return *flag;
    }
    if (const auto* number = boost::any_cast<unsigned long long>(&value)) {
        return *number;
    }
    return {};
}

} // namespace

KelAggregate::KelAggregate(std::shared_ptr<const KelAggregateDescriptor> descriptor)
    : m_descriptor(std::move(descriptor))
{
    for (const auto& property : *m_descriptor) {
        m_values.emplace(property.first, boost::any());
    }
}

template <typename T>
void KelAggregate::setPropertyValue(const std::string& name, const T& value)
{
    const auto stored = m_values.find(name);
    if (stored != m_values.end()) {
        const auto declared = m_descriptor->find(name);
        // The whole of the flags, not a bit: a property with further flags takes no value.
        if (declared != m_descriptor->end() && declared->second == FlagOf<T>) {
            stored->second = value;
            return;
        }
    }
    qWarning() << "Property not found, or value not correct type, property name:"
               << QString::fromStdString(name);
}

template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name, const bool& value);
template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name,
                                                        const unsigned long long& value);

QVariant KelAggregate::toVariant() const
{
    QVariantMap map;
    for (const auto& [name, value] : m_values) {
        if (!value.empty()) {
            map.insert(QString::fromStdString(name), ::toVariant(value));
        }
    }
    return map;
}
