#include "Tour.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <array>

namespace world {

Tour::Tour(KELClientInterface& server, std::chrono::milliseconds limit)
    : m_server(server)
    , m_limit(limit)
    , m_items(server)
{
}

bool Tour::run()
{
    if (const auto begun = m_items.begin(); !begun) {
        m_printer.missed({ QStringLiteral("the module's items on the session bus") }, { begun.error().text });
        return false;
    }
    m_printer.paragraph(QStringLiteral("A walk through the Bluetooth module. The module, its host and the "
                                       "two buses are real; the radio and the "
                                       "devices around it are simulated unless you chose another radio. "
                                       "Behind each \"$\" is what you could type "
                                       "yourself, in \"./run -- bash\"; indented below it are the items that "
                                       "changed because of it, with what "
                                       "they were before and what they became."));
    constexpr std::array<Part, 9> Parts{ &Tour::switchOn,   &Tour::scan,          &Tour::pairByPin,
                                         &Tour::pairByCode, &Tour::connectDevice, &Tour::disconnectDevice,
                                         &Tour::lendRadio,  &Tour::unpair,        &Tour::switchOff };
    const bool done = std::all_of(Parts.begin(), Parts.end(), [this](Part part) { return (this->*part)(); });
    m_printer.paragraph({});
    m_printer.paragraph(done ? QStringLiteral("All steps happened.")
                             : QStringLiteral("The walk ends here, because each step needs the one before."));
    return done;
}

bool Tour::perform(const TourStep& step)
{
    if (!step.title.isEmpty()) {
        m_printer.title(++m_number, step.title);
    }
    m_printer.request(step.why, step.request);
    m_items.mark();
    QElapsedTimer clock;
    clock.start();
    if (!ask(step)) {
        return false;
    }
    const bool happened = waitFor(step);
    m_printer.changes(m_items);
    if (happened) {
        m_printer.seen(step.outcome, std::chrono::milliseconds(clock.elapsed()));
        return true;
    }
    QStringList expected;
    QStringList present;
    for (const Expectation& expectation : step.expectations) {
        if (!expectation.holds(m_items)) {
            expected << expectation.wanted;
            present << expectation.present(m_items);
        }
    }
    m_printer.missed(expected, present);
    return false;
}

bool Tour::ask(const TourStep& step)
{
    const Request& request = step.request;
    if (request.kind == Request::Kind::Set) {
        const auto done = m_server.set(request.item, request.text);
        if (!done) {
            m_printer.missed({ QStringLiteral("%1 takes %2").arg(request.item, request.text) },
                             { done.error().message });
        }
        return static_cast<bool>(done);
    }
    const auto reply = m_server.trigger(request.item, request.text);
    if (!reply) {
        m_printer.missed({ QStringLiteral("%1 can be called").arg(request.item) }, { reply.error().message });
        return false;
    }
    m_printer.reply(*reply);
    if (*reply != request.reply) {
        m_printer.missed({ QStringLiteral("%1 answers \"%2\"").arg(request.item, request.reply) },
                         { QStringLiteral("\"%1\"").arg(*reply) });
        return false;
    }
    return true;
}

bool Tour::waitFor(const TourStep& step)
{
    const auto holds = [this, &step] {
        return std::all_of(step.expectations.begin(), step.expectations.end(),
                           [this](const Expectation& expectation) { return expectation.holds(m_items); });
    };
    QEventLoop loop;
    bool happened = false;
    const auto check = [&] {
        happened = holds();
        if (happened) {
            loop.quit();
        }
    };
    QObject::connect(&m_items, &ItemMirror::changed, &loop, check);
    QTimer::singleShot(m_limit, &loop, &QEventLoop::quit);
    check();
    if (!happened) {
        loop.exec();
    }
    return happened;
}

QString Tour::find(const QString& name)
{
    const int row = m_items.row(QStringLiteral("scanresultsName"), name);
    if (row < 0) {
        const Expectation expectation = rowExists(QStringLiteral("scanresultsName"), name);
        m_printer.missed({ expectation.wanted }, { expectation.present(m_items) });
        return {};
    }
    return m_items.text(QStringLiteral("scanresultsAddr:%1").arg(row));
}

} // namespace world
