// The metrics of the API's listener and of its certificate.
#pragma once

#include "service/http/Listener.h"
#include "service/metrics/Metrics.h"
#include "service/tls/CertificateKeeper.h"

namespace kelvo {

/** Ownership: the metrics must not be read after the certificate or the listener ends. */
void showNetwork(metrics::Metrics& metrics, const tls::CertificateKeeper& certificate,
                 const http::Listener& listener);

} // namespace kelvo
