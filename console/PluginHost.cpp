// Loads the plug-in, starts it and stops it.
#include "console/PluginHost.h"

#include <QtCore/QFileInfo>

#include <exception>

namespace console {

TPluginHost::~TPluginHost()
{
    Stop();
}

bool TPluginHost::Load(const QString& path, QString& errorText)
{
    if (!QFileInfo(path).isFile()) {
        errorText = QStringLiteral("There is no plug-in %1.").arg(path);
        return false;
    }
    m_library.setFileName(path);
    m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    if (!m_library.load()) {
        errorText = QStringLiteral("The plug-in %1 cannot be loaded: %2")
                        .arg(path, m_library.errorString());
        return false;
    }
    const auto resolve = [&](const char* name) {
        const QFunctionPointer entryPoint = m_library.resolve(name);
        if (entryPoint == nullptr && errorText.isEmpty()) {
            errorText = QStringLiteral("The plug-in %1 lacks the entry point %2.")
                            .arg(path, QString::fromLatin1(name));
        }
        return entryPoint;
    };
    errorText.clear();
    m_initialise = reinterpret_cast<TInitialise>(resolve("Initialise"));
    m_finalise = reinterpret_cast<TFinalise>(resolve("Finalise"));
    m_getKelvoInterface = reinterpret_cast<TGetKelvoInterface>(resolve("GetKelvoInterface"));
    return errorText.isEmpty();
}

bool TPluginHost::Start(const TPluginContext& context, QString& errorText)
{
    try {
        m_initialise(context.parentWidget, context.gpsCoordinator, context.hostString,
                     context.userLevels, context.features);
    } catch (const std::exception& exception) {
        errorText = QStringLiteral("The plug-in's start failed: %1")
                        .arg(QString::fromUtf8(exception.what()));
        return false;
    } catch (...) {
        errorText = QStringLiteral("The plug-in's start failed.");
        return false;
    }
    m_isRunning = true;
    if (Hub() == nullptr) {
        Stop();
        errorText = QStringLiteral("The plug-in started, but offers no hub.");
        return false;
    }
    return true;
}

void TPluginHost::Stop()
{
    if (m_isRunning) {
        m_isRunning = false;
        m_finalise();
    }
}

TKelvoInterface* TPluginHost::Hub() const
{
    return m_isRunning ? m_getKelvoInterface() : nullptr;
}

} // namespace console
