#include "KelAggregate.h"

#include <QDebug>
#include <QString>

namespace {

template <typename T>
constexpr KELItemStatusFlags FlagOf = KELItemStatusFlags{};
template <>
constexpr KELItemStatusFlags FlagOf<bool> = KELItemStatusFlags::Bool;
template <>
constexpr KELItemStatusFlags FlagOf<unsigned long long> = KELItemStatusFlags::UnsignedLongLong;

} // namespace

KelAggregate::KelAggregate(std::shared_ptr<const KelAggregateDescriptor> descriptor)
    : m_descriptor(std::move(descriptor))
{
}

template <typename T>
void KelAggregate::setPropertyValue(const std::string& name, const T& value)
{
    const auto declared = m_descriptor->find(name);
    // The whole of the flags, not a bit: a property with further flags takes no value.
    if (declared != m_descriptor->end() && declared->second == FlagOf<T>) {
        m_values.insert(QString::fromStdString(name), value);
        return;
    }
    qWarning() << "Property not found, or value not correct type, property name:"
               << QString::fromStdString(name);
}

template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name, const bool& value);
template IPC_EXPORT void KelAggregate::setPropertyValue(const std::string& name,
                                                        const unsigned long long& value);

QVariant KelAggregate::toVariant() const
{
    return m_values;
}
