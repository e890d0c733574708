/* What the lexicon's sources refer to in those that are left out, and never use. */
#include "cst_file.h"
#include "cst_val.h"

/* Deletion of values that only the synthesis makes. */
#define NEVER_MADE(name)                                                                           \
    void val_delete_##name(void *value)                                                            \
    {                                                                                              \
        (void)value;                                                                               \
    }
NEVER_MADE(audio_streaming_info)
NEVER_MADE(cg_db)
NEVER_MADE(lpcres)
NEVER_MADE(track)
NEVER_MADE(voice)
NEVER_MADE(wave)

int cst_urlp(const char *url)
{
    (void)url;
    return 0;
}

cst_file cst_url_open(const char *url)
{
    (void)url;
    return NULL;
}

/* The header defines this one inline; one file has to hold it for calls that are not inlined. */
extern int c99_snprintf(char *text, size_t size, const char *format, ...);
extern int c99_vsnprintf(char *text, size_t size, const char *format, va_list arguments);
