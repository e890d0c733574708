/* Typed text in place of speech, and a member of the instance's bus that answers it.
 *
 *   text [TEXT]     "hello" when no text is given
 *   text --alone    without that member: nobody replies, and after "dmTimeOut" (here 1 s; 10 s
 *                   unless configured) the dialog ends with VANTEL_ERROR_DM_TIMEOUT, -7799
 *
 * Prints every event. Ends with 0 when there was a reply.
 */
#include <contracts/quillon.h>
#include <vantel/vantel.h>

#include <stdio.h>
#include <string.h>

/* The member, whose loop the main thread runs. */
static void *member = NULL;
static int replies = 0;

/* Of the dialog service: takes the text and publishes a reply. */
static int32_t onMessage(void *user, void *node, const char *topic, const void *data,
                         uint32_t length)
{
    static const char reply[] =
        "{\"dm\":{\"nlg\":\"Good to hear from you.\",\"shouldEndSession\":true}}";
    (void)user;
    printf("member  %s: %.*s\n", topic, (int)length, (const char *)data);
    return quillon_publish(node, "sys.dms.output", reply, sizeof reply - 1);
}

static int is(const void *data, uint32_t length, const char *text)
{
    return length == strlen(text) && memcmp(data, text, length) == 0;
}

/* Of the host; runs on a thread of the instance. */
static char *onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    (void)user;
    if (type != VANTEL_TYPE_JSON) return NULL;
    printf("event %d: %.*s\n", (int)event, (int)length, (const char *)data);
    fflush(stdout);
    if (event == VANTEL_EVENT_DM_OUTPUT) ++replies;
    /* Silence: the dialog is over. */
    if (event == VANTEL_EVENT_STATUS && is(data, length, "{\"status\":\"silence\"}"))
        quillon_node_stop(member);
    return NULL;
}

int main(int count, char **arguments)
{
    const int isAlone = count > 1 && strcmp(arguments[1], "--alone") == 0;
    const char *text = count > 1 && !isAlone ? arguments[1] : "hello";
    char params[1024];
    /* A text with a quote or a backslash in it would have to be escaped. */
    snprintf(params, sizeof params, "{\"text\":\"%s\"}", text);

    /* Level 5: only errors are logged, here to standard output. */
    int32_t loaded = vantelInit("{\"level\": 5}");
    if (loaded != 0) fprintf(stderr, "no speech engine (%d), typed text only\n", (int)loaded);
    void *handle = vantelNew("{\"dmTimeOut\": 1000}", onEvent, NULL);
    if (!handle) {
        fprintf(stderr, "no instance\n");
        vantelRelease();
        return 1;
    }
    /* The bus is what the handle points to first; any number of members may join it. */
    member = quillon_node_new(*(void **)handle, "dialogService", onMessage, NULL, NULL);
    if (!isAlone) quillon_node_subscribe(member, "[\"api.localAgent.inputText\"]");

    if (vantelInputText(handle, params) == 0) {
        quillon_node_run(member); /* until onEvent stops it */
    } else {
        fprintf(stderr, "refused: %s\n", params);
    }
    vantelDelete(handle);        /* no event comes after this */
    quillon_node_delete(member); /* which onEvent needed until then */
    vantelRelease();
    return replies > 0 ? 0 : 1;
}
