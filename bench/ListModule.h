#pragma once

#include "RegistrationModule.h"

#include <string>

/// A list of 32 devices as a module publishes it: three values for each row, and a flag; 97 writes in all.
class ListModule : public RegistrationModule
{
    Q_OBJECT
public:
    /// @param others how many further items the module has.
    ListModule(int others, bool withExpressions);

private:
    /// "KIND COUNT": so many updates of the list, each in a turn of its own. Answers when the last is told.
    std::string update(const std::string& request);
    void updateOnce(const QString& kind);
    void writeRow(int row, int generation);
    /// The same as an update of all rows, told in one signal for each write.
    void sendSeparately();

    int m_generation = 0;
};
