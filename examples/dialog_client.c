/* A member of an instance's bus in the place of a cloud dialog service: it takes requests and the
 * speech that the library detects, publishes recognition results and replies, and holds a session
 * over several turns. The host beside it plays the replies (here: prints them).
 *
 *   dialog_client [RECORDING]    raw PCM: 16 kHz, 16 bit, mono
 *
 * First an intent is asked for, whose reply has a question in it; so when it has been played the
 * library listens. The answer is the recording or else a typed text, and ends the dialog. Ends with
 * 0 when both replies came.
 */
#include <contracts/quillon.h>
#include <vantel/vantel.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char topics[] = "[\"api.localAgent.triggerIntent\", \"api.localAgent.inputText\","
                             " \"sys.localVad.pcm\", \"sys.localVad.end\"]";
static const char question[] =
    "{\"sessionId\":\"s1\",\"dm\":{\"nlg\":\"Where to?\",\"shouldEndSession\":false}}";
static const char goodbye[] =
    "{\"sessionId\":\"s1\",\"dm\":{\"nlg\":\"On my way.\",\"shouldEndSession\":true}}";

/* The two halves of this program; each is used on one thread at a time. */
struct client {
    size_t speechBytes;
};
struct host {
    void *handle;
    void *client; /* the member whose loop the main thread runs */
    const char *recording;
    int replies;
    int isAnswered;
};

static void publish(void *node, const char *topic, const char *text)
{
    quillon_publish(node, topic, text, (uint32_t)strlen(text));
}

/* The client, on the thread inside quillon_node_run. */
static int32_t onMessage(void *user, void *node, const char *topic, const void *data,
                         uint32_t length)
{
    struct client *client = user;
    if (strcmp(topic, "api.localAgent.triggerIntent") == 0) {
        printf("client  intent %.*s\n", (int)length, (const char *)data);
        publish(node, "sys.dms.output", question);
    } else if (strcmp(topic, "api.localAgent.inputText") == 0) {
        printf("client  text %.*s\n", (int)length, (const char *)data);
        publish(node, "sys.dms.output", goodbye);
    } else if (strcmp(topic, "sys.localVad.pcm") == 0) {
        client->speechBytes += length; /* a service would be sent it, to recognise it */
    } else {                           /* "sys.localVad.end" */
        char result[128];
        snprintf(result, sizeof result, "{\"text\":\"(%u ms of speech)\",\"eof\":1}",
                 (unsigned)(client->speechBytes / 32));
        printf("client  speech %s\n", result);
        publish(node, "sys.asr.result", result);
        publish(node, "sys.dms.output", goodbye);
    }
    fflush(stdout);
    return 0;
}

static int is(const void *data, uint32_t length, const char *text)
{
    return length == strlen(text) && memcmp(data, text, length) == 0;
}

/* Feeds the whole recording with a second of silence behind it; the library takes it as it comes.
 */
static void feedRecording(struct host *host)
{
    static const char silence[32000];
    char chunk[320];
    FILE *file = fopen(host->recording, "rb");
    if (!file) {
        fprintf(stderr, "cannot read %s\n", host->recording);
    } else {
        size_t bytes;
        while ((bytes = fread(chunk, 1, sizeof chunk, file)) > 0)
            vantelFeedData(host->handle, chunk, (int32_t)bytes);
        fclose(file);
    }
    for (size_t at = 0; at < sizeof silence; at += sizeof chunk)
        vantelFeedData(host->handle, silence + at, sizeof chunk);
}

/* The host; requests may be made from here. */
static char *onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    struct host *host = user;
    if (type != VANTEL_TYPE_JSON) return NULL;
    printf("event %d: %.*s\n", (int)event, (int)length, (const char *)data);
    fflush(stdout);
    if (event == VANTEL_EVENT_DM_OUTPUT) {
        /* A host would play "nlg" now, and report the end when it has been heard. */
        ++host->replies;
        vantelNotifyTTSEnd(host->handle, NULL);
    } else if (event == VANTEL_EVENT_RECORDER && !host->isAnswered &&
               is(data, length, "{\"operation\":\"start\", \"module\":\"dm\"}")) {
        host->isAnswered = 1;
        if (host->recording) {
            feedRecording(host);
        } else {
            vantelInputText(host->handle, "{\"text\":\"home\"}");
        }
    } else if (event == VANTEL_EVENT_STATUS && is(data, length, "{\"status\":\"silence\"}")) {
        quillon_node_stop(host->client);
    }
    return NULL;
}

int main(int count, char **arguments)
{
    static const char configuration[] = "{"
                                        "  \"recorder\": {\"mode\": \"external\"},"
                                        "  \"player\": {\"mode\": \"external\"},"
                                        "  \"vad\": {\"pauseTime\": 500}"
                                        "}";
    struct client client = {0};
    struct host host = {NULL, NULL, count > 1 ? arguments[1] : NULL, 0, 0};
    if (vantelInit("{\"level\": 5}") != 0) fprintf(stderr, "no speech engine\n");
    host.handle = vantelNew(configuration, onEvent, &host);
    if (!host.handle) return 1;

    void *bus = *(void **)host.handle; /* the handle points to the bus first */
    host.client = quillon_node_new(bus, "dialogClient", onMessage, NULL, &client);
    quillon_node_subscribe(host.client, topics);

    vantelTriggerIntent(host.handle,
                        "{\"skill\":\"navigation\",\"task\":\"route\",\"intent\":\"start\"}");
    quillon_node_run(host.client); /* until the dialog is over */

    vantelDelete(host.handle); /* no event comes after this */
    quillon_node_delete(host.client);
    vantelRelease();
    return host.replies == 2 ? 0 : 1;
}
