#include "PairingStore.h"

#include "AddressHelper.h"

#include <QDebug>
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

/// @return what is wrong with the text; empty when \a list is what it says.
QString read(const QByteArray& text, PairList& list)
{
    try {
        const Json document = Json::parse(text.constBegin(), text.constEnd());
        for (const Json& device : document.at("paired")) {
            PairEntry entry;
            const QString address = QString::fromStdString(device.at("address").get<std::string>());
            entry.address = AddressHelper::str2int(address);
            entry.name = QString::fromStdString(device.at("name").get<std::string>());
            if (AddressHelper::int2str(entry.address) != address) {
                return QStringLiteral("\"%1\" is no device address").arg(address);
            }
            list.entries.append(entry);
        }
        return {};
    } catch (const Json::exception& error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

std::optional<PairList> PairingStore::load()
{
    QFile file(m_path);
    if (m_path.isEmpty() || !file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning().noquote() << m_path << "with the paired devices cannot be read:" << file.errorString();
        return {};
    }
    const QByteArray text = file.readAll();
    PairList list;
    const QString problem = read(text, list);
    if (!problem.isEmpty()) {
        setAside(problem);
        return {};
    }
    m_written = text;
    return list;
}

void PairingStore::setAside(const QString& reason) const
{
    const QString aside = m_path + QStringLiteral(".damaged");
    QFile::remove(aside);
    const bool moved = QFile::rename(m_path, aside);
    qWarning().noquote() << m_path << "with the paired devices is damaged"
                         << (moved ? QStringLiteral("and now is %1:").arg(aside) : QStringLiteral(":"))
                         << reason;
}

void PairingStore::save(const PairList& list)
{
    const QByteArray text = m_path.isEmpty() ? QByteArray() : textOf(list);
    if (text == m_written) {
        return; // a connection changed, or nothing is to be kept
    }
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        qWarning().noquote() << m_path << "with the paired devices cannot be written:" << file.errorString();
        return;
    }
    m_written = text;
}

} // namespace bt
