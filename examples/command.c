/* Recognises spoken commands and prints what they ask for, such as
 *
 *   {"api":"go","param":{"direction":"forward","meters":10}}
 *
 * for "go forward ten meters". The audio is raw PCM: 16 kHz, 16 bit, mono.
 *
 *   command RECORDING [GRAMMAR]                     the first command of a recording
 *   arecord -q -t raw -f S16_LE -r 16000 | command - [GRAMMAR]
 *                                                   one after the other, until the audio ends
 *
 * GRAMMAR is a file, "command.gram" when it is not named. Ends with 0 when there was a command.
 */
#define _POSIX_C_SOURCE 200809L
#include <vantel/vantel.h>

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

/* 10 ms of audio. */
enum { chunkBytes = 320, chunksPerSecond = 100 };

/* What the callback, on threads of the library, tells the main thread. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static int isRecording = 0, isSilent = 1, commands = 0;

static int contains(const char *data, uint32_t length, const char *word)
{
    const size_t size = strlen(word);
    for (size_t at = 0; at + size <= length; ++at) {
        if (memcmp(data + at, word, size) == 0) return 1;
    }
    return 0;
}

static char *onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    const char *text = data;
    (void)user;
    if (type != VANTEL_TYPE_JSON) return NULL; /* the speech itself */
    pthread_mutex_lock(&lock);
    switch (event) {
    case VANTEL_EVENT_RECORDER:
        isRecording = contains(text, length, "\"start\"");
        break;
    case VANTEL_EVENT_STATUS:
        isSilent = contains(text, length, "\"silence\"");
        break;
    case VANTEL_EVENT_COMMAND:
        ++commands;
        printf("%.*s\n", (int)length, text);
        fflush(stdout);
        break;
    case VANTEL_EVENT_ERROR:
        fprintf(stderr, "%.*s\n", (int)length, text);
        break;
    default:
        break;
    }
    pthread_cond_signal(&changed);
    pthread_mutex_unlock(&lock);
    return NULL; /* no answer */
}

/* Waits until *flag is 1. Returns 0 when that took longer than so many seconds. */
static int waitFor(const int *flag, int seconds)
{
    struct timespec end;
    int timeLeft = 1;
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += seconds;
    pthread_mutex_lock(&lock);
    while (!*flag && timeLeft)
        timeLeft = pthread_cond_timedwait(&changed, &lock, &end) == 0;
    const int value = *flag;
    pthread_mutex_unlock(&lock);
    return value;
}

static int isSet(const int *flag)
{
    pthread_mutex_lock(&lock);
    const int value = *flag;
    pthread_mutex_unlock(&lock);
    return value;
}

/* One turn: from the recorder's start, which is when to feed, to its stop. Returns 0 at the end of
 * the audio. */
static int turn(void *handle, FILE *audio)
{
    char chunk[chunkBytes];
    int quietChunks = 0;
    vantelStartDialog(handle);
    if (!waitFor(&isRecording, 10)) return 0;
    int isTaken = 1;
    while (isSet(&isRecording) && quietChunks < 2 * chunksPerSecond && isTaken) {
        if (fread(chunk, 1, sizeof chunk, audio) < sizeof chunk) {
            /* Speech that runs up to the end of a recording ends with the silence behind it. */
            memset(chunk, 0, sizeof chunk);
            ++quietChunks;
        }
        /* Refused: a minute of the recording waits, which is enough for a turn. */
        isTaken = vantelFeedData(handle, chunk, sizeof chunk) == 0;
    }
    /* A reply without speech to play ends the dialog. Without speech there is no reply. */
    if (!waitFor(&isSilent, 30)) {
        fprintf(stderr, "nobody spoke\n");
        vantelStopDialog(handle);
        waitFor(&isSilent, 10);
    }
    return quietChunks == 0 && !feof(audio);
}

int main(int count, char **arguments)
{
    const char *grammar = count > 2 ? arguments[2] : "command.gram";
    char configuration[4096];
    if (count < 2) {
        fprintf(stderr, "usage: command RECORDING|- [GRAMMAR]\n");
        return 2;
    }
    FILE *audio = strcmp(arguments[1], "-") == 0 ? stdin : fopen(arguments[1], "rb");
    if (!audio) {
        fprintf(stderr, "cannot read %s\n", arguments[1]);
        return 2;
    }
#if defined(_WIN32)
    if (audio == stdin) _setmode(_fileno(stdin), _O_BINARY);
#endif
    /* A name with a quote or a backslash in it would have to be escaped. */
    snprintf(configuration, sizeof configuration,
             "{"
             "  \"recorder\": {\"mode\": \"external\"}," /* this program feeds the audio */
             "  \"vad\": {\"pauseTime\": 500},"          /* ms of silence that end a command */
             "  \"gram\": {\"name\": \"command\", \"file\": \"%s\"},"
             "  \"asr\": {\"grammar\": \"command\", \"ngram\": \"none\"}" /* commands only */
             "}",
             grammar);

    /* Errors are logged, to standard output; a wrong grammar shows there. */
    int32_t loaded = vantelInit("{\"level\": 5}");
    void *handle = loaded == 0 ? vantelNew(configuration, onEvent, NULL) : NULL;
    if (!handle) {
        fprintf(stderr, "no instance; the engine's code is %d\n", (int)loaded);
        vantelRelease();
        return 2;
    }
    while (turn(handle, audio)) {
    }
    vantelDelete(handle); /* no event comes after this */
    vantelRelease();
    if (audio != stdin) fclose(audio);
    return commands > 0 ? 0 : 1;
}
