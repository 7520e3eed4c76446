#pragma once

#include "support/Programs.h"

/// The path of another program of the tests.
QString besideTest(const QString& name);
/// The program behind ./run.
QString worldProgram();
/// The options by which it is a world of stand-ins, in front of others.
QStringList withStandIn(const QStringList& arguments);

/// Rows "mechanism" and "ordinaryUser": every way to the private view, as this user and, for root, as nobody.
void addMechanisms();
/// Why a row of addMechanisms() cannot be tried on this machine; empty when it can.
QString whyNot(const QString& mechanism, bool ordinaryUser);
/// The environment that allows one mechanism alone.
std::vector<std::pair<QString, QString>> only(const QString& mechanism);

/// Ends the test where a row of addMechanisms() cannot be tried.
#define REQUIRE_MECHANISM(mechanism, ordinaryUser)                                                           \
    if (const QString reason = whyNot(mechanism, ordinaryUser); !reason.isEmpty()) {                         \
        QTest::qSkip(qPrintable(reason), __FILE__, __LINE__);                                                \
        return;                                                                                              \
    }
#define FETCH_MECHANISM                                                                                      \
    QFETCH(QString, mechanism);                                                                              \
    QFETCH(bool, ordinaryUser);                                                                              \
    REQUIRE_MECHANISM(mechanism, ordinaryUser)
/// In initTestCase(): skips a test program of the whole world where none can be had.
#define REQUIRE_WORLD                                                                                        \
    if (!whyNot("namespace", false).isEmpty()) {                                                             \
        REQUIRE_MECHANISM("proot", false)                                                                    \
    }
