#include "worker/ApiBaseUrl.h"

namespace {

QString ApiBaseUrl()
{
    const QString host = qEnvironmentVariable("KELVO_API_HOST").trimmed();
    return QStringLiteral("https://%1/kelvo-api")
        .arg(host.isEmpty() ? QStringLiteral(KELVO_DEFAULT_API_HOST) : host);
}

} // namespace

const QString KELVO_API_BASE_URL = ApiBaseUrl();
