#include "console/session/PluginHost.h"

#include "host/TGen2DynamicLibrary.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <exception>
#include <functional>

namespace {

// The window shows these texts to the operator.
struct TTexts
{
    Q_DECLARE_TR_FUNCTIONS(PluginHost)
};

// Calls a function of the plug-in. If it throws, the result is false and `errorText` is `what` with
// the reason.
bool Run(const std::function<void()>& part, const QString& what, QString& errorText)
{
    try {
        part();
        return true;
    } catch (const std::exception& exception) {
        errorText = what + QLatin1String(": ") + QString::fromUtf8(exception.what());
    } catch (...) {
        errorText = what + QLatin1Char('.');
    }
    return false;
}

} // namespace

namespace console {

TPluginHost::~TPluginHost()
{
    Stop();
}

bool TPluginHost::Load(const QString& path, QString& errorText)
{
    if (!QFileInfo(path).isFile()) {
        errorText = TTexts::tr("There is no plug-in %1.").arg(path);
        return false;
    }
    m_library.setFileName(path);
    m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    if (!m_library.load()) {
        errorText =
            TTexts::tr("The plug-in %1 cannot be loaded: %2").arg(path, m_library.errorString());
        return false;
    }
    const auto resolve = [&](const char* name) {
        const QFunctionPointer entryPoint = m_library.resolve(name);
        if (entryPoint == nullptr && errorText.isEmpty()) {
            errorText = TTexts::tr("The plug-in %1 lacks the entry point %2.")
                            .arg(path, QString::fromLatin1(name));
        }
        return entryPoint;
    };
    errorText.clear();
    m_initialise = reinterpret_cast<TInitialise>(resolve("Initialise"));
    m_finalise = reinterpret_cast<TFinalise>(resolve("Finalise"));
    m_getKelvoInterface = reinterpret_cast<TGetKelvoInterface>(resolve("GetKelvoInterface"));
    m_root = reinterpret_cast<TGen2DynamicLibrary**>(m_library.resolve("dll"));
    return errorText.isEmpty();
}

bool TPluginHost::Start(const TPluginContext& context, QString& errorText)
{
    const auto initialise = [&] {
        m_initialise(context.parentWidget, context.gpsCoordinator, context.hostString,
                     context.userLevels, context.features);
    };
    if (!Run(initialise, TTexts::tr("The plug-in's start failed"), errorText)) {
        return false;
    }
    m_isRunning = true;
    if (Hub() == nullptr) {
        Stop();
        errorText = TTexts::tr("The plug-in started, but offers no hub.");
        return false;
    }
    return true;
}

bool TPluginHost::CreateScreens(QString& errorText)
{
    TGen2DynamicLibrary* const root = m_isRunning && m_root != nullptr ? *m_root : nullptr;
    if (root == nullptr) {
        errorText = TTexts::tr("The plug-in offers no root object, so it has no screens.");
        return false;
    }
    return Run([root] { root->CreateScreens(); },
               TTexts::tr("The plug-in could not build its screens"), errorText);
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
