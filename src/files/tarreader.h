#pragma once

// A small tar module in plain procedural style: records, a table of stream
// callbacks, negative error codes, no exceptions and no allocation. Sizes and
// positions are 32 bits wide, so archives stay below 4 GiB.

#include <cstdint>

enum TarError {
    TAR_ESUCCESS = 0,
    TAR_EFAILURE = -1,
    TAR_EOPENFAIL = -2,
    TAR_EREADFAIL = -3,
    TAR_EWRITEFAIL = -4,
    TAR_ESEEKFAIL = -5,
    TAR_EBADCHKSUM = -6,
    TAR_ENULLRECORD = -7,
    TAR_ENOTFOUND = -8
};

struct TarArchive;

using TarReadFn = int (*)(TarArchive *archive, void *buffer, uint32_t size);
using TarWriteFn = int (*)(TarArchive *archive, const void *buffer, uint32_t size);
using TarSeekFn = int (*)(TarArchive *archive, uint32_t position);
using TarCloseFn = int (*)(TarArchive *archive);

struct TarArchive
{
    TarReadFn read;   // exactly size bytes, or an error code
    TarWriteFn write; // exactly size bytes, or an error code
    TarSeekFn seek;   // absolute
    TarCloseFn close;
    void *stream;     // the callbacks' own handle; a FILE* for tar_open
    uint32_t pos;     // where the module believes the stream stands
    uint32_t remaining_data;
    uint32_t last_header;
};

struct TarHeader
{
    int32_t ustar;
    uint32_t mode;
    uint32_t owner;
    uint32_t size;
    uint32_t mtime;
    int32_t type;
    char name[256];
    char linkname[100];
};

const char *tar_error_text(int code);

// mode as for fopen: "r", "w" or "a" choose binary access; a read open
// succeeds only once the first header has passed its checks.
int tar_open(TarArchive *archive, const char *filename, const char *mode);
int tar_close(TarArchive *archive);
uint32_t tar_tell(const TarArchive *archive);
int tar_seek(TarArchive *archive, uint32_t position);
int tar_rewind(TarArchive *archive);

// Parses the record at pos and leaves pos there.
int tar_read_header(TarArchive *archive, TarHeader *header);
int tar_next(TarArchive *archive);
// header may be null; an absent name in a properly ended archive is TAR_ENOTFOUND.
int tar_find(TarArchive *archive, const char *name, TarHeader *header);
int tar_read_data(TarArchive *archive, void *buffer, uint32_t size);

int tar_write_header(TarArchive *archive, const TarHeader *header);
int tar_write_file_header(TarArchive *archive, const char *name, uint32_t size);
int tar_write_dir_header(TarArchive *archive, const char *name);
int tar_write_data(TarArchive *archive, const void *buffer, uint32_t size);
int tar_finalize(TarArchive *archive);
