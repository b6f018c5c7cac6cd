#include "host/Archive.h"

#include <algorithm>
#include <archive_entry.h>

namespace {

constexpr int NS_PER_TICK = 100;

using EntryHandle = std::unique_ptr<archive_entry, decltype(&archive_entry_free)>;

unsigned FileType(const Entry& What)
{
    return What.type == Kind::File ? AE_IFREG : What.IsLink() ? AE_IFLNK : AE_IFDIR;
}

EntryHandle ToArchive(const Entry& What)
{
    const auto Nanoseconds = [](std::int64_t iTicks) {
        return static_cast<long>(iTicks % TICKS_PER_SECOND * NS_PER_TICK);
    };
    EntryHandle Filled(archive_entry_new(), archive_entry_free);
    archive_entry* const pEntry = Filled.get();
    archive_entry_set_pathname(pEntry, (What.path + (What.type == Kind::Folder ? "/" : "")).c_str());
    archive_entry_set_mtime(pEntry, What.mtime / TICKS_PER_SECOND, Nanoseconds(What.mtime));
    archive_entry_set_birthtime(pEntry, What.created / TICKS_PER_SECOND, Nanoseconds(What.created));
    archive_entry_set_fflags(pEntry, What.attributes, 0);
    archive_entry_set_perm(pEntry, What.type == Kind::Folder ? 0755 : 0644);
    archive_entry_set_size(pEntry, static_cast<la_int64_t>(What.size));
    archive_entry_set_filetype(pEntry, FileType(What));
    if (What.IsLink())
    {
        const bool bFile = What.type == Kind::FileLink;
        archive_entry_set_symlink(pEntry, What.link.c_str());
        archive_entry_set_symlink_type(pEntry, bFile ? AE_SYMLINK_TYPE_FILE : AE_SYMLINK_TYPE_DIRECTORY);
    }
    return Filled;
}

// Path, link, times and attributes come from the manifest, and libarchive composes the names that it reads. A hard
// link has another file's data, a sparse file any size: this program writes neither.
bool IsSame(archive_entry* pFound, const Entry& What)
{
    return archive_entry_filetype(pFound) == FileType(What) && archive_entry_hardlink(pFound) == nullptr &&
           archive_entry_sparse_count(pFound) == 0 &&
           archive_entry_size(pFound) == static_cast<la_int64_t>(What.size);
}

// libarchive is C: exceptions wait until it has returned.
template <typename Action> la_ssize_t Guarded(std::exception_ptr& pError, Action action)
{
    try
    {
        return static_cast<la_ssize_t>(action());
    }
    catch (...)
    {
        pError = std::current_exception();
        return ARCHIVE_FATAL;
    }
}

// Throws what a callback has thrown, or for a result below the least that is good enough.
void CheckResult(archive* pArchive, la_ssize_t iResult, la_ssize_t iLeast, const std::exception_ptr& pError)
{
    if (pError)
        std::rethrow_exception(pError);
    const char* const pText = archive_error_string(pArchive);
    if (iResult < iLeast)
        throw TapeError(fmt::format("archive: {}", pText ? pText : "no reason is given"));
}

} // namespace

// An archive that is given up must not be completed by its destructor, which would write.
ArchiveWriter::ArchiveWriter(Device& Drive)
    : m_Drive(Drive), m_Archive(archive_write_new(), [](archive* pArchive) {
          archive_write_fail(pArchive);
          return archive_write_free(pArchive);
      })
{
    Check(archive_write_set_format_pax(m_Archive.get()));
    Check(archive_write_set_bytes_per_block(m_Archive.get(), 0)); // what it buffered would be lost in CutOff
    const auto OnWrite = [](archive*, void* pSelf, const void* pData, std::size_t uiSize) {
        auto& Self = *static_cast<ArchiveWriter*>(pSelf);
        return Guarded(Self.m_pError, [&] {
            Self.Take({static_cast<const std::byte*>(pData), uiSize});
            return uiSize;
        });
    };
    Check(archive_write_open(m_Archive.get(), this, nullptr, OnWrite, nullptr));
}

void ArchiveWriter::Check(la_ssize_t iResult)
{
    CheckResult(m_Archive.get(), iResult, ARCHIVE_WARN, m_pError);
}

void ArchiveWriter::Take(std::span<const std::byte> Data)
{
    m_Buffer.insert(m_Buffer.end(), Data.begin(), Data.end());
    if (m_Buffer.size() >= PIECE_SIZE)
        Flush(m_Buffer.size() / ZDV_BLOCK_SIZE * ZDV_BLOCK_SIZE);
}

void ArchiveWriter::Flush(std::size_t uiSize)
{
    m_Drive.Write(std::span(m_Buffer).first(uiSize));
    m_Buffer.erase(m_Buffer.begin(), m_Buffer.begin() + static_cast<std::ptrdiff_t>(uiSize));
}

std::uint64_t ArchiveWriter::Size() const
{
    return static_cast<std::uint64_t>(archive_filter_bytes(m_Archive.get(), 0));
}

void ArchiveWriter::Begin(const Entry& What)
{
    Check(archive_write_header(m_Archive.get(), ToArchive(What).get()));
}

void ArchiveWriter::Write(std::span<const std::byte> Data)
{
    Check(archive_write_data(m_Archive.get(), Data.data(), Data.size()));
}

void ArchiveWriter::End() { Check(archive_write_finish_entry(m_Archive.get())); }

void ArchiveWriter::Close()
{
    Check(archive_write_close(m_Archive.get()));
    CutOff();
}

void ArchiveWriter::CutOff()
{
    m_Buffer.resize((m_Buffer.size() + ZDV_BLOCK_SIZE - 1) / ZDV_BLOCK_SIZE * ZDV_BLOCK_SIZE);
    if (!m_Buffer.empty())
        Flush(m_Buffer.size());
    m_Drive.WriteFilemark();
}

ArchiveReader::ArchiveReader(Session& Current, std::uint32_t uiObject)
    : m_Session(Current), m_uiObject(uiObject), m_Archive(nullptr, archive_read_free)
{
}

void ArchiveReader::Open()
{
    m_uiBlockStart = 0;
    m_uiBlockSize = 0;
    m_bEnded = false;
    m_Session.Drive().MoveBefore(m_uiObject);
    m_bOpen = true;
}

void ArchiveReader::Check(la_ssize_t iResult, la_ssize_t iLeast) const
{
    CheckResult(m_Archive.get(), iResult, iLeast, m_pError);
}

void ArchiveReader::Find(const Entry& What)
{
    if (!m_bOpen || What.offset < m_uiBlockStart)
        Open();
    m_uiNext = What.offset;
    m_pError = nullptr;
    m_Archive.reset(archive_read_new());
    archive_read_support_format_tar(m_Archive.get());
    const auto OnRead = [](archive*, void* pSelf, const void** pData) {
        auto& Self = *static_cast<ArchiveReader*>(pSelf);
        return Guarded(Self.m_pError, [&] {
            const std::span<const std::byte> Piece = Self.NextPiece();
            *pData = Piece.data();
            return Piece.size();
        });
    };
    Check(archive_read_open(m_Archive.get(), this, nullptr, OnRead, nullptr), ARCHIVE_WARN);
    archive_entry* pEntry = nullptr;
    const int iResult = archive_read_next_header(m_Archive.get(), &pEntry);
    Check(iResult, ARCHIVE_WARN);
    if (iResult == ARCHIVE_EOF || !IsSame(pEntry, What))
        throw TapeError("the archive holds something else than the manifest names here, or nothing");
}

std::size_t ArchiveReader::Read(std::span<std::byte> Into)
{
    const la_ssize_t iRead = archive_read_data(m_Archive.get(), Into.data(), Into.size());
    Check(iRead, 0); // a warning or a retry, too, is no number of bytes
    return static_cast<std::size_t>(iRead);
}

std::span<const std::byte> ArchiveReader::NextPiece()
{
    while (m_uiNext >= m_uiBlockStart + m_uiBlockSize)
    {
        CheckInterrupt();
        m_uiBlockStart += std::exchange(m_uiBlockSize, 0);
        m_bOpen = false;
        m_bEnded = m_bEnded || m_Session.Drive().Read(m_Block) != ReadResult::Filled;
        m_bOpen = true;
        if (m_bEnded)
            return {};
        m_uiBlockSize = m_Block.size();
        m_uiReached = std::max(m_uiReached, m_uiBlockStart + m_uiBlockSize);
    }
    const std::span<const std::byte> Piece =
        std::span(m_Block).subspan(static_cast<std::size_t>(m_uiNext - m_uiBlockStart));
    m_uiNext += Piece.size();
    return Piece;
}
