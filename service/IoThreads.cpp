#include "service/IoThreads.h"

#include <algorithm>

namespace kelvo {

namespace {

using namespace std::chrono_literals;

bool waitUntilClosed(const std::vector<http::Listener*>& listeners, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    const auto isClosed = [](const http::Listener* one) { return one->openConnections() == 0; };
    while (!std::all_of(listeners.begin(), listeners.end(), isClosed)) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

} // namespace

IoThreads::IoThreads()
{
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
    for (unsigned i = 0; i < count; ++i) {
        contexts_.push_back(std::make_unique<asio::io_context>(1));
        guards_.emplace_back(contexts_.back()->get_executor());
    }
}

IoThreads::~IoThreads()
{
    stop();
}

std::vector<asio::io_context*> IoThreads::contexts()
{
    std::vector<asio::io_context*> all;
    for (const auto& context : contexts_) {
        all.push_back(context.get());
    }
    return all;
}

void IoThreads::start()
{
    for (const auto& context : contexts_) {
        threads_.emplace_back([context = context.get()] { context->run(); });
    }
}

bool IoThreads::haveAnswered()
{
    if (unanswered_ > 0) {
        return false;
    }
    unanswered_ = contexts_.size();
    for (const auto& context : contexts_) {
        asio::post(*context, [this] { --unanswered_; });
    }
    return true;
}

void IoThreads::drain(const std::vector<http::Listener*>& listeners,
                      std::chrono::milliseconds grace)
{
    for (http::Listener* listener : listeners) {
        listener->stop();
    }
    if (!waitUntilClosed(listeners, grace)) {
        for (http::Listener* listener : listeners) {
            listener->abort();
        }
        waitUntilClosed(listeners, grace); // for disk and database work in progress
    }
    stop();
}

void IoThreads::stop()
{
    for (const auto& context : contexts_) {
        context->stop();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

} // namespace kelvo
