#include "Timeline.h"

#include "SimulatedRadio.h"
#include "SimulationClock.h"

#include <QDebug>

#include <memory>
#include <utility>

namespace bt {

namespace {

base::Result<> apply(const ScenarioEvent& event, SimulatedRadio& radio)
{
    using Kind = ScenarioEvent::Kind;
    switch (event.kind) {
    case Kind::Connect:
        return radio.deviceConnects(event.address);
    case Kind::PairRequest:
        return radio.deviceAsksToPair(event.address);
    case Kind::Drop:
        return radio.deviceDrops(event.address);
    case Kind::Disappear:
        return radio.removeDevice(event.address);
    case Kind::Appear:
        return radio.returnDevice(event.address);
    case Kind::Move:
        return radio.moveDevice(event.address, event.signalStrength, event.duration);
    }
    return {};
}

} // namespace

Timeline::Timeline(std::vector<ScenarioEvent> events, SimulatedRadio& radio, SimulationClock& clock)
    : m_events(std::move(events))
    , m_radio(radio)
    , m_clock(clock)
{
    connect(&radio, &Radio::statusChanged, this, [this](Status status) {
        if (status == Status::On) {
            disconnect(&m_radio, &Radio::statusChanged, this, nullptr);
            begin();
        }
    });
}

void Timeline::begin()
{
    for (const ScenarioEvent& event : m_events) {
        m_clock.after(event.time, this, [this, event] { happen(event); });
    }
}

void Timeline::happen(const ScenarioEvent& event)
{
    if (const base::Result<> done = apply(event, m_radio); !done) {
        qWarning().noquote() << "the scenario's event after" << static_cast<double>(event.time.count()) / 1000
                             << "s does not happen:" << done.error().text;
    }
}

} // namespace bt
