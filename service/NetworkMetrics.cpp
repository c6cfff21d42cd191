#include "service/NetworkMetrics.h"

#include <vector>

namespace kelvo {

namespace {

void showRefusals(metrics::Metrics& metrics, const http::Listener& listener)
{
    metrics.show({"kelvo_connections_refused_total", "counter",
                  "Connections refused: too many in all, of one address, or unfinished heads.",
                  [&listener] {
                      const http::Listener::Refused refused = listener.refused();
                      return std::vector<metrics::Metrics::Sample>{
                          {"reason=\"total\"", static_cast<double>(refused.total)},
                          {"reason=\"address\"", static_cast<double>(refused.address)},
                          {"reason=\"heads\"", static_cast<double>(refused.heads)}};
                  }});
}

} // namespace

void showNetwork(metrics::Metrics& metrics, const tls::CertificateKeeper& certificate,
                 const http::Listener& listener)
{
    metrics.show("kelvo_connections_open", "gauge", "Connections to the API.",
                 [&listener] { return static_cast<double>(listener.openConnections()); });
    metrics.show("kelvo_tls_certificate_end_seconds", "gauge",
                 "End of the certificate and its chain, in seconds since 1970.",
                 [&certificate] { return static_cast<double>(certificate.certificateEndS()); });
    metrics.show({"kelvo_tls_authority_end_seconds", "gauge",
                  "End of the service's own authority, the latest in ca.pem; absent with --cert.",
                  [&certificate] {
                      const std::int64_t end = certificate.authorityEndS();
                      using Samples = std::vector<metrics::Metrics::Sample>;
                      return end == 0 ? Samples{} : Samples{{{}, static_cast<double>(end)}};
                  }});
    showRefusals(metrics, listener);
}

} // namespace kelvo
