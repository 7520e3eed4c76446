#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

/// How a program ended, and what it said.
struct Finished
{
    int status = -1; ///< as a shell counts it; -1 when it did not end in time
    QString output;
    QString error;
};

/// How a program is run.
struct Run
{
    std::vector<std::pair<QString, QString>> environment;
    bool ordinaryUser = false; ///< as nobody; only root can
    QString folder; ///< empty is the current one
};

Finished run(const QString& program, const QStringList& arguments, const Run& how = {});

/// The path of another program of the tests.
QString besideTest(const QString& name);

/// Rows "mechanism" and "ordinaryUser": every way to the private view, as this user and, for root, as nobody.
void addMechanisms();
/// Why a row of addMechanisms() cannot be tried on this machine; empty when it can.
QString whyNot(const QString& mechanism, bool ordinaryUser);
/// The environment that allows one mechanism alone.
std::vector<std::pair<QString, QString>> only(const QString& mechanism);
