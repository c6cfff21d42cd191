#include "service/metrics/Metrics.h"

#include <gmock/gmock.h>

namespace kelvo::metrics {
namespace {

using testing::HasSubstr;

void answer(Metrics& metrics, std::string_view method, std::string_view route, unsigned status)
{
    http::RequestSummary summary;
    summary.method = method;
    summary.route = route;
    summary.status = status;
    metrics.begin();
    metrics.count(summary);
}

TEST(AlertCounters, AreZeroBeforeTheFirstRequest)
{
    const std::string text = Metrics().text();
    EXPECT_THAT(text, HasSubstr("\nkelvo_http_errors_total 0\n"));
    EXPECT_THAT(text, HasSubstr("\nkelvo_http_no_room_total 0\n"));
    EXPECT_THAT(text, HasSubstr("\nkelvo_bins_emptied_total 0\n"));
}

TEST(AlertCounters, CountTheirOwnAnswersOnly)
{
    Metrics metrics;
    answer(metrics, "GET", "/account", 500);
    answer(metrics, "GET", "/account", 503);
    answer(metrics, "POST", "/uploads", 507);
    answer(metrics, "PATCH", "/uploads/{id}", 507);
    for (const unsigned status : {200U, 204U, 204U, 403U, 500U}) {
        answer(metrics, "DELETE", "/bin", status);
    }
    answer(metrics, "GET", "/bin", 200);
    answer(metrics, "DELETE", "/bin/{id}", 204);
    const std::string text = metrics.text();
    EXPECT_THAT(text, HasSubstr("\nkelvo_http_errors_total 2\n"));
    EXPECT_THAT(text, HasSubstr("\nkelvo_http_no_room_total 2\n"));
    EXPECT_THAT(text, HasSubstr("\nkelvo_bins_emptied_total 3\n"));
}

} // namespace
} // namespace kelvo::metrics
