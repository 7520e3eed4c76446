#include "ModuleFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

namespace host {

base::Result<ModuleFactory> openModule(const QString& file)
{
    const QFileInfo info(file);
    if (!info.isFile()) {
        return base::error(
            QStringLiteral("there is no module file \"%1\"; --module FILE names another").arg(file));
    }
    // The absolute path, so that no search path finds another file of this name.
    QLibrary library(info.absoluteFilePath());
    library.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
    if (!library.load()) {
        return base::error(
            QStringLiteral("the module file \"%1\" cannot be loaded: %2").arg(file, library.errorString()));
    }
    const auto factory = reinterpret_cast<ModuleFactory>(library.resolve(ModuleFactoryName));
    if (factory == nullptr) {
        return base::error(QStringLiteral("\"%1\" is not a module file: it has no function \"%2\"")
                               .arg(file, QLatin1String(ModuleFactoryName)));
    }
    return factory;
}

QString defaultModuleFile()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QStringLiteral("/../lib/bluetooth-entry.so"));
}

} // namespace host
