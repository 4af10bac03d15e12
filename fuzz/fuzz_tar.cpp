// The tar reader over an archive held in memory. The walk is that of a zfw
// upload: each header, the data of file and pax members read as the upload
// reads them, pax records parsed, then on to the next member. Every name met
// must then be found by tar_find, with the header of its first member.
#include "fuzzsupport.h"

#include "morvexwindow.h"
#include "tarreader.h"

#include <cstring>
#include <vector>

namespace {

struct Memory
{
    const uint8_t *data;
    uint32_t size;
    uint32_t at;
};

Memory *memoryOf(TarArchive *archive)
{
    return static_cast<Memory *>(archive->stream);
}

// As a file does: what is there is read, and a short read is an error.
int memoryRead(TarArchive *archive, void *buffer, uint32_t size)
{
    Memory *memory = memoryOf(archive);
    const uint32_t available = memory->at < memory->size ? memory->size - memory->at : 0;
    const uint32_t count = size < available ? size : available;
    if (count)
        std::memcpy(buffer, memory->data + memory->at, count);
    memory->at += count;
    return count == size ? TAR_ESUCCESS : TAR_EREADFAIL;
}

int memoryWrite(TarArchive *, const void *, uint32_t)
{
    return TAR_EWRITEFAIL;
}

// A file may be positioned past its end; reading there fails.
int memorySeek(TarArchive *archive, uint32_t position)
{
    memoryOf(archive)->at = position;
    return TAR_ESUCCESS;
}

int memoryClose(TarArchive *)
{
    return TAR_ESUCCESS;
}

bool sameHeader(const TarHeader &a, const TarHeader &b)
{
    return a.ustar == b.ustar && a.mode == b.mode && a.owner == b.owner && a.size == b.size && a.mtime == b.mtime
           && a.type == b.type && std::strcmp(a.name, b.name) == 0 && std::strcmp(a.linkname, b.linkname) == 0;
}

void checkText(const char *text, size_t width)
{
    FUZZ_CHECK(memchr(text, 0, width) != nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Memory memory{data, uint32_t(size), 0};
    TarArchive archive{memoryRead, memoryWrite, memorySeek, memoryClose, &memory, 0, 0, 0};

    std::vector<TarHeader> firsts;
    TarHeader header;
    QByteArray member;
    while (tar_read_header(&archive, &header) == TAR_ESUCCESS) {
        checkText(header.name, sizeof header.name);
        checkText(header.linkname, sizeof header.linkname);
        const uint32_t here = tar_tell(&archive);
        if (header.type == 0 || header.type == '0' || header.type == 'g') {
            if (!MorvexWindow::readZfwMember(&archive, header, member))
                break;
            if (header.type == 'g')
                MorvexWindow::parsePaxRecords(member);
        }
        bool seen = false;
        for (const TarHeader &first : firsts)
            seen = seen || std::strcmp(first.name, header.name) == 0;
        if (!seen)
            firsts.push_back(header);
        tar_seek(&archive, here);
        if (tar_next(&archive) != TAR_ESUCCESS)
            break;
    }

    for (const TarHeader &first : firsts) {
        TarHeader found;
        FUZZ_CHECK(tar_find(&archive, first.name, &found) == TAR_ESUCCESS);
        FUZZ_CHECK(sameHeader(found, first));
    }
    const char *absent = "\x01 no such member";
    bool named = false;
    for (const TarHeader &first : firsts)
        named = named || std::strcmp(first.name, absent) == 0;
    if (!named)
        FUZZ_CHECK(tar_find(&archive, absent, nullptr) != TAR_ESUCCESS);
    tar_close(&archive);
    return 0;
}
