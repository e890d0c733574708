/* Makes an instance, sends it typed text, and prints the events that it gets.
 *
 *   events [PARAMS]   PARAMS as vantelInputText takes them; Enter or the end of input ends it
 */
#include <vantel/vantel.h>

#include <stdio.h>

static const char *typeName(int32_t type)
{
    switch (type) {
    case VANTEL_TYPE_JSON:
        return "json";
    case VANTEL_TYPE_PCM:
        return "pcm";
    default:
        return "binary";
    }
}

/* Runs on threads of the instance, so it only prints, one line at a time. */
static char *printEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    FILE *out = user;
    if (type == VANTEL_TYPE_JSON) {
        fprintf(out, "event %d: %.*s\n", (int)event, (int)length, data ? (const char *)data : "");
    } else {
        fprintf(out, "event %d: %u bytes of %s\n", (int)event, (unsigned)length, typeName(type));
    }
    fflush(out);
    return NULL; /* no answer */
}

int main(int count, char **arguments)
{
    const char *text = count > 1 ? arguments[1] : "{\"text\":\"hello\"}";

    /* Level 5: only errors are logged, here to standard output. */
    int32_t loaded = vantelInit("{\"level\":5}");
    if (loaded != 0) fprintf(stderr, "no speech engine (%d), typed text only\n", (int)loaded);

    void *handle = vantelNew("{}", printEvent, stdout);
    if (!handle) {
        fprintf(stderr, "no instance\n");
        vantelRelease();
        return 1;
    }
    int32_t sent = vantelInputText(handle, text);
    if (sent == 0) {
        fprintf(stderr, "sent %s; press Enter to end\n", text);
    } else {
        fprintf(stderr, "refused %s; press Enter to end\n", text);
    }
    while (getchar() != '\n' && !feof(stdin)) {
    }

    vantelDelete(handle); /* no event comes after this */
    vantelRelease();
    return sent == 0 ? 0 : 1;
}
