#include "RadioScenarios.h"
#include "support/PrivateView.h"
#ifdef GUEST
#include "BluezFaults.h"
#include "BluezLong.h"
#include "LowEnergy.h"
#else
#include "SimulatedScenery.h"
#endif

namespace {

/// Runs the tests that the command line names, as far as they are this object's, or all. @return the
/// failures.
int run(QObject& tests, int argc, char** argv)
{
    const bool all = argc == 1;
    const QByteArray name = all ? QByteArray() : QByteArray(argv[1]).split(':').first() + "()";
    return all || tests.metaObject()->indexOfMethod(name) >= 0 ? QTest::qExec(&tests, argc, argv) : 0;
}

} // namespace

int main(int argc, char** argv)
{
#ifdef GUEST
    GuestScenery scenery;
#else
    SimulatedScenery scenery;
#endif
    return runInPrivateView(
        scenery.controller(), argc, argv, [&](const world::PrivateFilesystem& filesystem) {
            RadioWorld world(filesystem, scenery);
            const QString problem = world.start();
            if (!problem.isEmpty()) {
                std::fprintf(stderr, "%s\n%s\n", qPrintable(problem), qPrintable(world.output()));
                return 1;
            }
#ifdef GUEST
            if (argc > 1 && QByteArray(argv[1]) == "long") {
                BluezLong tests(world, scenery);
                return QTest::qExec(&tests, argc - 1, argv + 1);
            }
#endif
            RadioScenarios scenarios(world);
            int failures = run(scenarios, argc, argv);
#ifdef GUEST
            LowEnergy lowEnergy(world, scenery);
            failures += run(lowEnergy, argc, argv);
            BluezFaults faults(world, scenery);
            failures += run(faults, argc, argv);
#endif
            return failures;
        });
}
