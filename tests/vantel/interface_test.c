/* The public interface as a program in plain C sees it. */
#include "vantel/vantel.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

#define EXPECT(condition)                                                                          \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            printf("%s:%d: %s\n", __FILE__, __LINE__, #condition);                                 \
            ++failures;                                                                            \
        }                                                                                          \
    } while (0)

static char *answer(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    char *text = malloc(3);
    if (text) memcpy(text, "{}", 3);
    (void)user;
    (void)data;
    (void)length;
    (void)type;
    (void)event;
    return text;
}

int main(void)
{
    static const char audio[640];
    int users = 0;
    EXPECT(vantelInit(NULL) == -1);
    EXPECT(vantelInit("{\"level\":5}") == 0);
    EXPECT(vantelNew("no", answer, &users) == NULL);

    void *handle = vantelNew("{\"recorder\":{\"mode\":\"external\"},\"vad\":{}}", answer, &users);
    EXPECT(handle != NULL);
    EXPECT(vantelStartDialog(handle) == 0);
    EXPECT(vantelFeedData(handle, audio, (int32_t)sizeof audio) == 0);
    EXPECT(vantelInputText(handle, "{\"text\":\"t\"}") == 0);
    EXPECT(vantelFeedImage(handle, audio, 1, 1, 2, 3) == 0);
    EXPECT(vantelStopDialogParams(handle, NULL) == 0);
    EXPECT(vantelQXReset(handle, NULL) == -1);
    EXPECT(vantelDelete(handle) == 0);
    EXPECT(vantelStartDialog(NULL) == -1);
    EXPECT(vantelDelete(NULL) == 0);
    EXPECT(vantelRelease() == 0);
    return failures == 0 ? 0 : 1;
}
