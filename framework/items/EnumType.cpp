#include "EnumType.h"

// The signature is the framework's.
// NOLINTNEXTLINE(modernize-pass-by-value)
EnumType::EnumType(const QString& name, QObject* parent)
    : QObject(parent)
    , m_name(name)
{
}

EnumType::~EnumType() = default;

void EnumType::add(const QString& label, const QString& symbol, int value)
{
    m_values.append({ label, symbol, value });
}
