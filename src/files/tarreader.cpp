// The tar module: reading and writing tar records over a table of stream callbacks.
#include "tarreader.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t RecordSize = 512;

// Offsets of the fields of a raw record.
constexpr int OffName = 0;
constexpr int OffMode = 100;
constexpr int OffOwner = 108;
constexpr int OffSize = 124;
constexpr int OffMtime = 136;
constexpr int OffChecksum = 148;
constexpr int OffType = 156;
constexpr int OffLinkname = 157;
constexpr int OffMagic = 257;
constexpr int OffPrefix = 345;

constexpr int NameWidth = 100;
constexpr int PrefixWidth = 155;
constexpr int ChecksumWidth = 8;

FILE *fileOf(TarArchive *archive)
{
    return static_cast<FILE *>(archive->stream);
}

int fileRead(TarArchive *archive, void *buffer, uint32_t size)
{
    return std::fread(buffer, 1, size, fileOf(archive)) == size ? TAR_ESUCCESS : TAR_EREADFAIL;
}

int fileWrite(TarArchive *archive, const void *buffer, uint32_t size)
{
    return std::fwrite(buffer, 1, size, fileOf(archive)) == size ? TAR_ESUCCESS : TAR_EWRITEFAIL;
}

int fileSeek(TarArchive *archive, uint32_t position)
{
    // A plain long would stop at 2 GiB where long has 32 bits.
#ifdef _WIN32
    const int failed = _fseeki64(fileOf(archive), static_cast<long long>(position), SEEK_SET);
#else
    const int failed = fseeko(fileOf(archive), static_cast<off_t>(position), SEEK_SET);
#endif
    return failed ? TAR_ESEEKFAIL : TAR_ESUCCESS;
}

int fileClose(TarArchive *archive)
{
    std::fclose(fileOf(archive));
    archive->stream = nullptr;
    return TAR_ESUCCESS;
}

// Octal text as sscanf's "%o" reads it, kept within its field.
uint32_t readOctal(const unsigned char *record, int offset, int width)
{
    char text[16];
    std::memcpy(text, record + offset, size_t(width));
    text[width] = '\0';
    unsigned value = 0;
    if (std::sscanf(text, "%o", &value) != 1)
        return 0;
    return value;
}

void writeOctal(unsigned char *record, int offset, int width, const char *format, uint32_t value)
{
    char text[16];
    const int length = std::snprintf(text, sizeof text, format, unsigned(value));
    if (length > 0)
        std::memcpy(record + offset, text, size_t(length < width ? length : width - 1));
}

// Copies text up to its first NUL or width characters and returns the count; no terminator.
size_t copyText(char *to, const unsigned char *from, size_t width)
{
    size_t length = 0;
    while (length < width && from[length] != 0) {
        to[length] = char(from[length]);
        ++length;
    }
    return length;
}

uint32_t checksum(const unsigned char *record)
{
    // The checksum field itself counts as eight blanks.
    uint32_t sum = ChecksumWidth * uint32_t(' ');
    for (int i = 0; i < OffChecksum; ++i)
        sum += record[i];
    for (uint32_t i = OffChecksum + ChecksumWidth; i < RecordSize; ++i)
        sum += record[i];
    return sum;
}

int writeZeros(TarArchive *archive, uint32_t count)
{
    const unsigned char zero = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const int error = archive->write(archive, &zero, 1);
        if (error)
            return error;
        ++archive->pos;
    }
    return TAR_ESUCCESS;
}

} // namespace

const char *tar_error_text(int code)
{
    switch (code) {
    case TAR_ESUCCESS: return "success";
    case TAR_EFAILURE: return "failure";
    case TAR_EOPENFAIL: return "could not open";
    case TAR_EREADFAIL: return "could not read";
    case TAR_EWRITEFAIL: return "could not write";
    case TAR_ESEEKFAIL: return "could not seek";
    case TAR_EBADCHKSUM: return "bad checksum";
    case TAR_ENULLRECORD: return "null record";
    case TAR_ENOTFOUND: return "file not found";
    default: return "unknown error";
    }
}

int tar_open(TarArchive *archive, const char *filename, const char *mode)
{
    archive->read = fileRead;
    archive->write = fileWrite;
    archive->seek = fileSeek;
    archive->close = fileClose;
    archive->stream = nullptr;
    archive->pos = 0;
    archive->remaining_data = 0;
    archive->last_header = 0;

    const bool reading = std::strchr(mode, 'r') != nullptr;
    const char *fileMode = mode;
    if (reading)
        fileMode = "rb";
    else if (std::strchr(mode, 'w'))
        fileMode = "wb";
    else if (std::strchr(mode, 'a'))
        fileMode = "ab";
    archive->stream = std::fopen(filename, fileMode);
    if (!archive->stream)
        return TAR_EOPENFAIL;

    if (reading) {
        TarHeader first;
        const int error = tar_read_header(archive, &first);
        if (error) {
            tar_close(archive);
            return error;
        }
    }
    return TAR_ESUCCESS;
}

int tar_close(TarArchive *archive)
{
    return archive->close(archive);
}

uint32_t tar_tell(const TarArchive *archive)
{
    return archive->pos;
}

int tar_seek(TarArchive *archive, uint32_t position)
{
    const int error = archive->seek(archive, position);
    archive->pos = position;
    return error;
}

int tar_rewind(TarArchive *archive)
{
    archive->remaining_data = 0;
    archive->last_header = 0;
    return tar_seek(archive, 0);
}

int tar_read_header(TarArchive *archive, TarHeader *header)
{
    unsigned char record[RecordSize];
    archive->last_header = archive->pos;
    int error = archive->read(archive, record, RecordSize);
    archive->pos += RecordSize;
    if (error)
        return error;
    error = tar_seek(archive, archive->last_header);
    if (error)
        return error;

    if (record[OffChecksum] == 0)
        return TAR_ENULLRECORD;
    if (readOctal(record, OffChecksum, ChecksumWidth) != checksum(record))
        return TAR_EBADCHKSUM;

    // "ustar " with a blank is the old GNU magic: such a record is read as a plain one.
    header->ustar = std::memcmp(record + OffMagic, "ustar", 6) == 0 ? 1 : 0;
    header->mode = readOctal(record, OffMode, 8);
    header->owner = readOctal(record, OffOwner, 8);
    header->size = readOctal(record, OffSize, 12);
    header->mtime = readOctal(record, OffMtime, 12);
    header->type = static_cast<signed char>(record[OffType]);

    // Prefix and name run together as they stand: an archive with a prefix carries its own "/".
    size_t length = 0;
    if (header->ustar)
        length = copyText(header->name, record + OffPrefix, PrefixWidth);
    length += copyText(header->name + length, record + OffName, NameWidth);
    header->name[length] = '\0';

    length = copyText(header->linkname, record + OffLinkname, sizeof header->linkname - 1);
    header->linkname[length] = '\0';
    return TAR_ESUCCESS;
}

int tar_next(TarArchive *archive)
{
    TarHeader header;
    const int error = tar_read_header(archive, &header);
    if (error)
        return error;
    const uint32_t padding = (0u - header.size) & (RecordSize - 1);
    const uint64_t next = uint64_t(archive->pos) + RecordSize + header.size + padding;
    // A position past 4 GiB would wrap round to this header or one before it,
    // and a walk would never end.
    if (next > UINT32_MAX)
        return TAR_ESEEKFAIL;
    return tar_seek(archive, uint32_t(next));
}

int tar_find(TarArchive *archive, const char *name, TarHeader *header)
{
    int error = tar_rewind(archive);
    if (error)
        return error;
    TarHeader current;
    while ((error = tar_read_header(archive, &current)) == TAR_ESUCCESS) {
        if (std::strcmp(current.name, name) == 0) {
            if (header)
                *header = current;
            return TAR_ESUCCESS;
        }
        error = tar_next(archive);
        if (error)
            return error;
    }
    return error == TAR_ENULLRECORD ? TAR_ENOTFOUND : error;
}

int tar_read_data(TarArchive *archive, void *buffer, uint32_t size)
{
    int error;
    if (archive->remaining_data == 0) {
        TarHeader header;
        error = tar_read_header(archive, &header);
        if (error)
            return error;
        error = tar_seek(archive, archive->pos + RecordSize);
        if (error)
            return error;
        archive->remaining_data = header.size;
    }
    error = archive->read(archive, buffer, size);
    archive->pos += size;
    if (error)
        return error;
    archive->remaining_data -= size;
    // Back at the header once the member is read, so tar_next works as after a header read.
    if (archive->remaining_data == 0)
        return tar_seek(archive, archive->last_header);
    return TAR_ESUCCESS;
}

int tar_write_header(TarArchive *archive, const TarHeader *header)
{
    unsigned char record[RecordSize] = {};
    writeOctal(record, OffMode, 8, "%o", header->mode);
    writeOctal(record, OffOwner, 8, "%o", header->owner);
    writeOctal(record, OffSize, 12, "%o", header->size);
    writeOctal(record, OffMtime, 12, "%o", header->mtime);
    record[OffType] = header->type ? static_cast<unsigned char>(header->type) : '0';
    std::memcpy(record + OffName, header->name, strnlen(header->name, NameWidth));
    std::memcpy(record + OffLinkname, header->linkname, strnlen(header->linkname, sizeof header->linkname));
    writeOctal(record, OffChecksum, ChecksumWidth, "%06o", checksum(record));
    record[OffChecksum + ChecksumWidth - 1] = ' ';

    archive->remaining_data = header->size;
    const int error = archive->write(archive, record, RecordSize);
    archive->pos += RecordSize;
    return error;
}

int tar_write_file_header(TarArchive *archive, const char *name, uint32_t size)
{
    TarHeader header = {};
    std::snprintf(header.name, sizeof header.name, "%s", name);
    header.size = size;
    header.type = '0';
    header.mode = 0664;
    return tar_write_header(archive, &header);
}

int tar_write_dir_header(TarArchive *archive, const char *name)
{
    TarHeader header = {};
    std::snprintf(header.name, sizeof header.name, "%s", name);
    header.size = 0;
    header.type = '5';
    header.mode = 0775;
    return tar_write_header(archive, &header);
}

int tar_write_data(TarArchive *archive, const void *buffer, uint32_t size)
{
    const int error = archive->write(archive, buffer, size);
    archive->pos += size;
    if (error)
        return error;
    archive->remaining_data -= size;
    if (archive->remaining_data == 0)
        return writeZeros(archive, (0u - archive->pos) & (RecordSize - 1));
    return TAR_ESUCCESS;
}

int tar_finalize(TarArchive *archive)
{
    // Two all-zero records end the archive.
    return writeZeros(archive, 2 * RecordSize);
}
