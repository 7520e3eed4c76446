#include "EnumType.h"

#include <utility>

EnumType::EnumType(QString name, QObject* parent)
    : QObject(parent)
    , m_name(std::move(name))
{
}

EnumType::~EnumType() = default;

void EnumType::add(const QString& label, const QString& symbol, int value)
{
    m_values.append({ label, symbol, value });
}
