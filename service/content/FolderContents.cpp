#include "service/content/FolderContents.h"

#include "service/base/Log.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace kelvo::content {

namespace {

class FileAdoption final : public Adoption
{
public:
    FileAdoption(const ContentStore& store, std::string upload, std::string sha256)
        : store_(store), upload_(std::move(upload)), sha256_(std::move(sha256))
    {
        moved_ = store_.adopt(upload_, sha256_);
    }

    void join(store::Transaction&) override {}

    bool leavesUpload() const override { return !moved_; }

    void committed() noexcept override
    {
        try {
            if (!moved_) {
                store_.removeUpload(upload_);
            }
        } catch (const std::exception& error) {
            logWarning("upload-not-removed", error.what()); // the clean-up removes it
        }
    }

    void rolledBack() noexcept override
    {
        try {
            if (moved_) {
                store_.revertToUpload(upload_, sha256_);
            }
        } catch (const std::exception& error) {
            logWarning("upload-not-reverted", error.what()); // the clean-up removes the content
        }
    }

private:
    const ContentStore& store_;
    std::string upload_;
    std::string sha256_;
    bool moved_ = false;
};

class FileReceiver final : public Receiver
{
public:
    FileReceiver(const ContentStore& store, DigestCache& digests, std::string upload)
        : store_(store), upload_(std::move(upload)), writer_(store, digests, upload_)
    {}

    ~FileReceiver() override
    {
        if (sha256_.empty()) {
            writer_.suspend();
        }
    }

    std::uint64_t offset() const override { return writer_.offset(); }
    void append(const void* data, std::size_t sizeBytes) override
    {
        writer_.append(data, sizeBytes);
    }
    void flush() override { writer_.sync(); }
    void suspend() override {} // the file has the bytes

    std::string finish() override
    {
        writer_.sync();
        sha256_ = writer_.finish();
        return sha256_;
    }

    std::unique_ptr<Adoption> adopt() override
    {
        return std::make_unique<FileAdoption>(store_, upload_, sha256_);
    }

private:
    const ContentStore& store_;
    std::string upload_;
    UploadWriter writer_;
    std::string sha256_; // after finish()
};

class FileReader final : public Reader
{
public:
    explicit FileReader(FileDescriptor file) : file_(std::move(file)), stamp_(stampOf(file_.get()))
    {}

    std::uint64_t sizeBytes() const override
    {
        return static_cast<std::uint64_t>(stamp_.sizeBytes);
    }
    std::optional<FileStamp> stamp() const override { return stamp_; }

    std::size_t read(std::uint64_t offset, void* buffer, std::size_t mostBytes) override
    {
        ssize_t got = 0;
        do {
            got = ::pread(file_.get(), buffer, mostBytes, static_cast<off_t>(offset));
        } while (got < 0 && errno == EINTR);
        if (got < 0) {
            throwErrno("pread");
        }
        return static_cast<std::size_t>(got);
    }

private:
    FileDescriptor file_;
    FileStamp stamp_;
};

/** Null if the file is missing. */
template <class Open>
std::unique_ptr<Reader> readerOf(Open open)
{
    try {
        return std::make_unique<FileReader>(open());
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) {
            throw;
        }
        return nullptr;
    }
}

} // namespace

FolderContents::FolderContents(const ContentStore& store, DigestCache& digests,
                               DiskReserve* reserve)
    : store_(store), digests_(digests), reserve_(reserve)
{}

std::uint64_t FolderContents::keptBytes(const std::string& upload)
{
    return store_.uploadSize(upload);
}

std::unique_ptr<Receiver> FolderContents::receive(const std::string& upload)
{
    return std::make_unique<FileReceiver>(store_, digests_, upload);
}

void FolderContents::requireRoom(long long sizeBytes)
{
    if (reserve_ != nullptr) {
        reserve_->requireRoom(sizeBytes);
    } else if (std::filesystem::space(store_.contentsFolder()).available <
               static_cast<std::uintmax_t>(sizeBytes)) {
        throw std::system_error(ENOSPC, std::generic_category(), "contents");
    }
}

std::unique_ptr<Reader> FolderContents::openUpload(const std::string& upload)
{
    return readerOf([&] { return store_.openReceived(upload); });
}

void FolderContents::removeUpload(const std::string& upload)
{
    store_.removeUpload(upload);
}

std::unique_ptr<Reader> FolderContents::open(const std::string& sha256)
{
    return readerOf([&] { return store_.open(sha256); });
}

void FolderContents::remove(const std::string& sha256)
{
    store_.remove(sha256);
}

} // namespace kelvo::content
