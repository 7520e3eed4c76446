#include "ModuleFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

namespace host {

ModuleFactory openModule(const QString& file, QString* error)
{
    const QFileInfo info(file);
    if (!info.isFile()) {
        *error = QStringLiteral("there is no module file \"%1\"; --module FILE names another").arg(file);
        return nullptr;
    }
    // The absolute path, so that no search path finds another file of this name.
    QLibrary library(info.absoluteFilePath());
    library.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
    if (!library.load()) {
        *error =
            QStringLiteral("the module file \"%1\" cannot be loaded: %2").arg(file, library.errorString());
        return nullptr;
    }
    const auto factory = reinterpret_cast<ModuleFactory>(library.resolve(ModuleFactoryName));
    if (factory == nullptr) {
        *error = QStringLiteral("\"%1\" is not a module file: it has no function \"%2\"")
                     .arg(file, QLatin1String(ModuleFactoryName));
    }
    return factory;
}

QString defaultModuleFile()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QStringLiteral("/../lib/bluetooth-entry.so"));
}

} // namespace host
