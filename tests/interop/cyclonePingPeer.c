/* A ping peer on Eclipse Cyclone DDS, to check that qorddsping talks to an independent DDS
 * implementation: "PingType" on "PingTopic" in domain 0, keyed when built with KEYED.
 *
 *   cyclone-ping-peer pub COUNT  best effort, volatile: waits for a reader, then sends issues
 *                                0 to COUNT-1 every 100 ms; keyed, it cycles key = issue % 2
 *                                through write, dispose, write, unregister like qorddsping
 *   cyclone-ping-peer sub DEPTH  reliable, transient local, keep last DEPTH: prints a line per
 *                                sample taken, ends 4 s after the last one
 * Exit status 0 on success, 1 on failure, 2 on a bad command line. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "dds/dds.h"

#ifdef KEYED
#include "pingKeyed.h"
#else
#include "pingPlain.h"
#endif

#define MAX_TAKE 64
#define KEYS 2

static dds_return_t send_issue(dds_entity_t writer, int issue) {
    PingType sample = {.number = issue};
#ifdef KEYED
    sample.key = issue % KEYS;
    switch ((issue / KEYS) % 4) {
        case 1:
            return dds_dispose(writer, &sample);
        case 3:
            return dds_unregister_instance(writer, &sample);
    }
#endif
    return dds_write(writer, &sample);
}

static int publish(dds_entity_t writer, int count) {
    dds_publication_matched_status_t matched = {0};
    for (int waited_ms = 0; matched.current_count == 0; waited_ms += 20) {
        if (waited_ms > 30000 || dds_get_publication_matched_status(writer, &matched) < 0) {
            printf("cyclone peer: no reader\n");
            return 1;
        }
        dds_sleepfor(DDS_MSECS(20));
    }
    /* The reader matches this writer a moment after the writer matched it; a best-effort
     * sample sent in between would be lost. */
    dds_sleepfor(DDS_MSECS(500));
    for (int issue = 0; issue < count; ++issue) {
        dds_return_t rc = send_issue(writer, issue);
        if (rc != DDS_RETCODE_OK) {
            printf("cyclone peer: write error %s\n", dds_strretcode(rc));
            return 1;
        }
        dds_sleepfor(DDS_MSECS(100));
    }
    return 0;
}

/* Waits up to 30 s for the first sample, so that a slow start of the writer is no failure. */
static int subscribe(dds_entity_t reader) {
    int received = 0;
    for (int idle_ms = 0; idle_ms < (received > 0 ? 4000 : 30000);) {
        void* samples[MAX_TAKE] = {NULL};
        dds_sample_info_t infos[MAX_TAKE];
        dds_return_t n = dds_take(reader, samples, infos, MAX_TAKE, MAX_TAKE);
        for (dds_return_t i = 0; i < n; ++i) {
            const PingType* sample = samples[i];
            printf("cyclone peer:");
#ifdef KEYED
            /* An invalid sample still carries the instance's key fields. */
            printf(" key %d", sample->key);
#endif
            if (infos[i].valid_data) {
                printf(" issue %07d\n", sample->number);
            } else {
                printf(" %s\n", infos[i].instance_state == DDS_IST_NOT_ALIVE_DISPOSED
                                    ? "disposed"
                                    : "no writers");
            }
        }
        if (n > 0) {
            dds_return_loan(reader, samples, n);
            fflush(stdout);
            received += n;
            idle_ms = 0;
        } else {
            dds_sleepfor(DDS_MSECS(10));
            idle_ms += 10;
        }
    }
    printf("cyclone peer: timeout after %d samples\n", received);
    return received > 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    int publishing = argc == 3 && strcmp(argv[1], "pub") == 0;
    int number = argc == 3 ? atoi(argv[2]) : 0;
    if (number <= 0 || (!publishing && strcmp(argv[1], "sub") != 0)) {
        fprintf(stderr, "usage: %s pub COUNT | sub DEPTH\n", argv[0]);
        return 2;
    }
    dds_entity_t participant = dds_create_participant(0, NULL, NULL);
    dds_entity_t topic = dds_create_topic(participant, &PingType_desc, "PingTopic", NULL, NULL);
    dds_qos_t* qos = dds_create_qos(); /* otherwise volatile, keep last 1 */
    dds_qset_reliability(qos, publishing ? DDS_RELIABILITY_BEST_EFFORT : DDS_RELIABILITY_RELIABLE,
                         DDS_MSECS(100));
    if (!publishing) {
        dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, number);
    }
    /* Unregistering leaves the instance without writers; it does not dispose it. */
    dds_qset_writer_data_lifecycle(qos, false);
    dds_entity_t endpoint = publishing ? dds_create_writer(participant, topic, qos, NULL)
                                       : dds_create_reader(participant, topic, qos, NULL);
    dds_delete_qos(qos);
    int status = 1;
    if (participant < 0 || topic < 0 || endpoint < 0) {
        fprintf(stderr, "cyclone peer: cannot create the entities\n");
    } else {
        status = publishing ? publish(endpoint, number) : subscribe(endpoint);
    }
    fflush(stdout);
    dds_delete(participant);
    return status;
}
