#include "PairingStore.h"

#include "AddressHelper.h"
#include "DeviceReader.h"
#include "Notice.h"
#include "ObjectReader.h"
#include "Quoted.h"

#include <QFile>
#include <QSaveFile>

#include <nlohmann/json.hpp>

namespace bt {

namespace {

using Json = nlohmann::ordered_json;

QByteArray textOf(const PairList& list)
{
    Json paired = Json::array();
    for (const PairEntry& entry : list.entries) {
        paired.push_back({ { "address", AddressHelper::int2str(entry.address).toStdString() },
                           { "name", entry.name.toStdString() } });
    }
    const std::string text =
        Json{ { "paired", paired } }.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
    return QByteArray::fromStdString(text);
}

PairEntry readDevice(const JsonValue& value, base::Result<>& outcome)
{
    ObjectReader reader(value, QStringLiteral("a device"),
                        { QStringLiteral("address"), QStringLiteral("name") }, outcome);
    reader.require("address");
    reader.require("name");
    const QString address = reader.text("address").value_or(QString());
    PairEntry entry;
    entry.address = addressFrom(address);
    entry.name = reader.text("name").value_or(QString());
    if (entry.address == 0) {
        reader.complain(reader.lineOf("address"),
                        QStringLiteral("%1 is no device address").arg(base::quoted(address)));
    }
    return entry;
}

base::Result<PairList> read(const JsonValue& root)
{
    base::Result<> outcome;
    ObjectReader reader(root, QStringLiteral("the file"), { QStringLiteral("paired") }, outcome);
    reader.require("paired");
    PairList list;
    if (const auto* devices = reader.list("paired")) {
        for (const JsonValue& device : *devices) {
            list.entries.append(readDevice(device, outcome));
        }
    }
    return outcome.map([&list] { return list; });
}

} // namespace

std::optional<PairList> PairingStore::load()
{
    QFile file(m_path);
    if (m_path.isEmpty() || !file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        notice(
            QStringLiteral("%1 with the paired devices cannot be read: %2").arg(m_path, file.errorString()));
        return {};
    }
    const QByteArray text = file.readAll();
    const auto list = parseJson(text).and_then(read);
    if (!list) {
        setAside(QStringLiteral("line %1: ").arg(list.error().line) + list.error().text);
        return {};
    }
    m_written = text;
    return *list;
}

void PairingStore::setAside(const QString& reason) const
{
    const QString aside = m_path + QStringLiteral(".damaged");
    QFile::remove(aside);
    const bool moved = QFile::rename(m_path, aside);
    notice(QStringLiteral("%1 with the paired devices is damaged%2: %3")
               .arg(m_path, moved ? QStringLiteral(" and now is ") + aside : QString(), reason));
}

void PairingStore::save(const PairList& list)
{
    const QByteArray text = m_path.isEmpty() ? QByteArray() : textOf(list);
    if (text == m_written) {
        return; // a connection changed, or nothing is to be kept
    }
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        notice(QStringLiteral("%1 with the paired devices cannot be written: %2")
                   .arg(m_path, file.errorString()));
        return;
    }
    m_written = text;
}

} // namespace bt
