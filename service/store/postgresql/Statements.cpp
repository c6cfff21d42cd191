#include "service/store/postgresql/Statements.h"

#include "service/store/postgresql/Pipeline.h"

#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

namespace kelvo::store {

namespace {

using soci::details::statement_type;

constexpr std::array<std::string_view, 4> deferrable{"INSERT", "UPDATE", "DELETE", "SAVEPOINT"};

/** SOCI converts the parameters and the rows; only the exchange with the server is our own. */
class PipelinedStatement final : public soci::details::statement_backend
{
public:
    PipelinedStatement(Pipeline& pipeline, soci::postgresql_statement_backend* inner)
        : pipeline_(pipeline), inner_(inner)
    {}

    void alloc() override { inner_->alloc(); }
    void clean_up() override { inner_->clean_up(); }
    void prepare(const std::string& query, statement_type) override
    {
        inner_->prepare(query, soci::details::st_one_time_query);
    }

    exec_fetch_result execute(int number) override
    {
        const Statement statement{inner_->query_, parameters()};
        inner_->clean_up();
        isDeferred_ = mayBeDeferred();
        if (isDeferred_) {
            pipeline_.defer(statement);
            return ef_no_data;
        }
        if (statement.text.starts_with("ROLLBACK")) {
            pipeline_.discard();
        }
        inner_->result_.reset(pipeline_.run(statement).release());
        inner_->justDescribed_ = true; // the result is there
        return inner_->execute(number);
    }

    exec_fetch_result fetch(int number) override { return inner_->fetch(number); }

    /** Call directly after execute(). */
    long long get_affected_rows() override
    {
        if (isDeferred_) {
            inner_->result_.reset(pipeline_.flush().release());
            isDeferred_ = false;
        }
        return inner_->get_affected_rows();
    }

    int get_number_of_rows() override { return inner_->get_number_of_rows(); }
    std::string get_parameter_name(int index) const override
    {
        return inner_->get_parameter_name(index);
    }
    std::string rewrite_for_procedure_call(const std::string& query) override
    {
        return inner_->rewrite_for_procedure_call(query);
    }
    int prepare_for_describe() override
    {
        pipeline_.flush();
        return inner_->prepare_for_describe();
    }
    void describe_column(int number, soci::data_type& type, std::string& name) override
    {
        inner_->describe_column(number, type, name);
    }
    soci::details::standard_into_type_backend* make_into_type_backend() override
    {
        return inner_->make_into_type_backend();
    }
    soci::details::standard_use_type_backend* make_use_type_backend() override
    {
        return inner_->make_use_type_backend();
    }
    soci::details::vector_into_type_backend* make_vector_into_type_backend() override
    {
        return inner_->make_vector_into_type_backend();
    }
    soci::details::vector_use_type_backend* make_vector_use_type_backend() override
    {
        throw soci::soci_error("parameters that are vectors are not supported");
    }

private:
    std::vector<const char*> parameters() const
    {
        std::vector<const char*> values;
        for (const auto& [position, value] : inner_->useByPosBuffers_) {
            values.push_back(*value);
        }
        if (inner_->useByNameBuffers_.empty()) {
            return values;
        }
        for (const std::string& name : inner_->names_) {
            values.push_back(*inner_->useByNameBuffers_.at(name));
        }
        return values;
    }

    bool mayBeDeferred() const
    {
        const std::string_view text = inner_->query_;
        return !inner_->hasIntoElements_ && pipeline_.isInTransaction() &&
               std::any_of(deferrable.begin(), deferrable.end(),
                           [text](std::string_view verb) { return text.starts_with(verb); });
    }

    Pipeline& pipeline_;
    std::unique_ptr<soci::postgresql_statement_backend> inner_;
    bool isDeferred_ = false;
};

class PipelinedSession final : public soci::details::session_backend
{
public:
    explicit PipelinedSession(const soci::connection_parameters& parameters)
        : inner_(static_cast<soci::postgresql_session_backend*>(
              soci::factory_postgresql()->make_session(parameters))),
          pipeline_(*inner_->conn_)
    {}

    Pipeline& pipeline() { return pipeline_; }

    bool is_connected() override { return inner_->is_connected(); }
    void begin() override { inner_->begin(); }
    void commit() override { inner_->commit(); }
    void rollback() override { inner_->rollback(); }
    std::string get_dummy_from_table() const override { return inner_->get_dummy_from_table(); }
    std::string get_backend_name() const override { return inner_->get_backend_name(); }
    soci::details::statement_backend* make_statement_backend() override
    {
        return new PipelinedStatement(pipeline_, inner_->make_statement_backend());
    }
    soci::details::rowid_backend* make_rowid_backend() override
    {
        return inner_->make_rowid_backend();
    }
    soci::details::blob_backend* make_blob_backend() override
    {
        return inner_->make_blob_backend();
    }

private:
    std::unique_ptr<soci::postgresql_session_backend> inner_;
    Pipeline pipeline_;
};

class Factory final : public soci::backend_factory
{
public:
    soci::details::session_backend*
    make_session(const soci::connection_parameters& parameters) const override
    {
        return new PipelinedSession(parameters);
    }
};

Pipeline& pipelineOf(soci::session& session)
{
    return static_cast<PipelinedSession*>(session.get_backend())->pipeline();
}

} // namespace

const soci::backend_factory& statementFactory()
{
    static const Factory factory;
    return factory;
}

PGconn& connectionOf(soci::session& session)
{
    Pipeline& pipeline = pipelineOf(session);
    pipeline.flush();
    return pipeline.connection();
}

const PGconn& rawConnectionOf(soci::session& session)
{
    return pipelineOf(session).connection();
}

} // namespace kelvo::store
