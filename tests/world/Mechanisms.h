#pragma once

#include "support/Programs.h"

/// The path of another program of the tests.
QString besideTest(const QString& name);

/// Rows "mechanism" and "ordinaryUser": every way to the private view, as this user and, for root, as nobody.
void addMechanisms();
/// Why a row of addMechanisms() cannot be tried on this machine; empty when it can.
QString whyNot(const QString& mechanism, bool ordinaryUser);
/// The environment that allows one mechanism alone.
std::vector<std::pair<QString, QString>> only(const QString& mechanism);

/// Fetches a row of addMechanisms(), and ends the test where it cannot be tried.
#define FETCH_MECHANISM                                                                                      \
    QFETCH(QString, mechanism);                                                                              \
    QFETCH(bool, ordinaryUser);                                                                              \
    const QString reason = whyNot(mechanism, ordinaryUser);                                                  \
    if (!reason.isEmpty()) {                                                                                 \
        QTest::qSkip(qPrintable(reason), __FILE__, __LINE__);                                                \
        return;                                                                                              \
    }
