#pragma once

#include "GuestScenery.h"
#include "RadioWorld.h"

#include <QObject>

/// Pairing with a device of low energy, by a passkey that one side shows and the other side types.
class LowEnergy : public QObject
{
    Q_OBJECT

public:
    LowEnergy(RadioWorld& world, GuestScenery& guest)
        : m_world(world)
        , m_guest(guest)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();
    void typesWhatTheyShow_data();
    void typesWhatTheyShow();
    void showsWhatTheyType();

private:
    [[nodiscard]] bool askToPair(const QString& capability, const QString& question);

    RadioWorld& m_world;
    GuestScenery& m_guest;
};
