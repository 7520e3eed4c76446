#include "ModuleFile.h"

#include "ModuleEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLibrary>
#include <QRegularExpression>

#include <exception>

namespace host {
namespace {

using ModuleFactory = decltype(&createModule);

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
    const auto factory = reinterpret_cast<ModuleFactory>(library.resolve("createModule"));
    if (factory == nullptr) {
        return base::error(QStringLiteral("\"%1\" is not a module file: it has no function \"createModule\"; "
                                          "<ipc/ModuleEntry.h> declares it")
                               .arg(file));
    }
    return factory;
}

base::Result<RegistrationModule*> makeModule(ModuleFactory factory, const QString& file, QObject& parent)
{
    // A name is a part of addresses like :config:SERVER:MODULE:ID:.
    static const QRegularExpression possible(QStringLiteral("\\A[A-Za-z0-9_-]+\\z"));
    RegistrationModule* module = nullptr;
    try {
        module = factory(&parent);
    } catch (...) {
        return base::error(QStringLiteral("\"%1\" made no module: %2").arg(file, thrownText()));
    }
    if (module == nullptr) {
        return base::error(
            QStringLiteral("\"%1\" made no module: its \"createModule\" returned none").arg(file));
    }
    if (!possible.match(module->moduleName()).hasMatch()) {
        return base::error(QStringLiteral("\"%1\" names its module \"%2\"; a name has letters, digits, \"_\" "
                                          "and \"-\", at least one of them")
                               .arg(file, module->moduleName()));
    }
    return module;
}

} // namespace

base::Result<std::vector<RegistrationModule*>> makeModules(const QStringList& files, QObject& parent)
{
    std::vector<ModuleFactory> factories;
    for (const QString& file : files) {
        const auto factory = openModule(file);
        if (!factory) {
            return tl::unexpected(factory.error());
        }
        factories.push_back(*factory);
    }
    std::vector<RegistrationModule*> modules;
    QHash<QString, QString> fileOfName;
    for (const QString& file : files) {
        const auto module = makeModule(factories[modules.size()], file, parent);
        if (!module) {
            return tl::unexpected(module.error());
        }
        const QString name = (*module)->moduleName();
        if (fileOfName.contains(name)) {
            return base::error(QStringLiteral("\"%1\" and \"%2\" both have a module named \"%3\"; in a host, "
                                              "each has a name of its own")
                                   .arg(fileOfName[name], file, name));
        }
        fileOfName.insert(name, file);
        modules.push_back(*module);
    }
    return modules;
}

QString defaultModuleFile()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QStringLiteral("/../lib/bluetoothlauncher/bluetooth-entry.so"));
}

QString thrownText()
{
    try {
        throw;
    } catch (const std::exception& exception) {
        return QStringLiteral("it threw \"%1\"").arg(QString::fromUtf8(exception.what()));
    } catch (...) {
        return QStringLiteral("it threw what is no std::exception");
    }
}

} // namespace host
