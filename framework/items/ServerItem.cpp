#include "ServerItem.h"

#include "ForkGuard.h"
#include "Item.h"

ServerItem::ServerItem(ipc::Item& item)
    : m_item(item)
{
}

QVariant ServerItem::value()
{
    ipc::leaveIfForked();
    return m_item.value();
}

void ServerItem::setValue(const QVariant& value, bool announce)
{
    m_item.store(value, announce);
}

void ServerItem::setRange(const QVariant& minimum, const QVariant& maximum)
{
    m_item.setRange(minimum, maximum);
}

void ServerItem::setRegularExpression(const QString& expression)
{
    m_item.setRegularExpression(expression);
}

void ServerItem::setApplicable(bool applicable, bool announce)
{
    m_item.setApplicable(applicable, announce);
}
