/* A ping peer written on Eclipse Cyclone DDS, to check that qorddsping talks to an
 * independent DDS implementation. Built twice: with KEYED defined for the keyed layout,
 * without it for the plain one. Both register their type as "PingType".
 *
 *   cyclone-ping-peer pub [-domain D] [-topic T] [-n N] [-period MS] [-keys K]
 *                         [-reliable] [-transient-local] [-depth N] [-wait S]
 *   cyclone-ping-peer sub [-domain D] [-topic T] [-timeout S]
 *                         [-reliable] [-transient-local] [-depth N]
 *
 * The publisher waits up to -wait seconds for a reader, then sends issues 0 to N-1 every
 * -period milliseconds; with KEYED it cycles key = issue % K through write, dispose, write,
 * unregister like qorddsping does. The subscriber prints one line per sample it takes and
 * ends after -timeout seconds without any. Exit status 0 on success, 1 on failure. */
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

struct options {
    int publish;
    dds_domainid_t domain;
    const char* topic;
    int count;
    int period_ms;
    int keys;
    int reliable;
    int transient_local;
    int depth;
    int wait_s;
    int timeout_s;
};

static int parse_options(int argc, char** argv, struct options* o) {
    if (argc < 2 || (strcmp(argv[1], "pub") != 0 && strcmp(argv[1], "sub") != 0)) {
        return 0;
    }
    *o = (struct options){.publish = strcmp(argv[1], "pub") == 0,
                          .topic = "PingTopic",
                          .count = 10,
                          .period_ms = 100,
                          .keys = 2,
                          .depth = 1,
                          .wait_s = 10,
                          .timeout_s = 5};
    for (int i = 2; i < argc; ++i) {
        const char* arg = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : NULL;
        if (strcmp(arg, "-reliable") == 0) {
            o->reliable = 1;
        } else if (strcmp(arg, "-transient-local") == 0) {
            o->transient_local = 1;
        } else if (value == NULL) {
            return 0;
        } else if (strcmp(arg, "-domain") == 0) {
            o->domain = (dds_domainid_t)atoi(value), ++i;
        } else if (strcmp(arg, "-topic") == 0) {
            o->topic = value, ++i;
        } else if (strcmp(arg, "-n") == 0) {
            o->count = atoi(value), ++i;
        } else if (strcmp(arg, "-period") == 0) {
            o->period_ms = atoi(value), ++i;
        } else if (strcmp(arg, "-keys") == 0) {
            o->keys = atoi(value), ++i;
        } else if (strcmp(arg, "-depth") == 0) {
            o->depth = atoi(value), ++i;
        } else if (strcmp(arg, "-wait") == 0) {
            o->wait_s = atoi(value), ++i;
        } else if (strcmp(arg, "-timeout") == 0) {
            o->timeout_s = atoi(value), ++i;
        } else {
            return 0;
        }
    }
    return o->keys > 0 && o->depth > 0;
}

static dds_qos_t* endpoint_qos(const struct options* o) {
    dds_qos_t* qos = dds_create_qos();
    dds_qset_reliability(qos, o->reliable ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT,
                         DDS_MSECS(100));
    dds_qset_durability(qos, o->transient_local ? DDS_DURABILITY_TRANSIENT_LOCAL
                                                : DDS_DURABILITY_VOLATILE);
    dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, o->depth);
    /* Unregistering leaves the instance without writers; it does not dispose it. */
    dds_qset_writer_data_lifecycle(qos, false);
    return qos;
}

static int wait_for_reader(dds_entity_t writer, int seconds) {
    for (int waited_ms = 0; waited_ms < seconds * 1000; waited_ms += 20) {
        dds_publication_matched_status_t status;
        if (dds_get_publication_matched_status(writer, &status) == DDS_RETCODE_OK &&
            status.current_count > 0) {
            return 1;
        }
        dds_sleepfor(DDS_MSECS(20));
    }
    return 0;
}

static dds_return_t send_issue(dds_entity_t writer, int issue, int keys) {
    PingType sample;
    memset(&sample, 0, sizeof sample);
    sample.number = issue;
#ifdef KEYED
    sample.key = issue % keys;
    printf("cyclone peer: key %d", sample.key);
    switch ((issue / keys) % 4) {
        case 1:
            printf(" dispose\n");
            return dds_dispose(writer, &sample);
        case 3:
            printf(" unregister\n");
            return dds_unregister_instance(writer, &sample);
        default:
            printf(" issue %07d\n", issue);
            return dds_write(writer, &sample);
    }
#else
    (void)keys;
    printf("cyclone peer: issue %07d\n", issue);
    return dds_write(writer, &sample);
#endif
}

static int publish(dds_entity_t participant, dds_entity_t topic, const struct options* o) {
    dds_qos_t* qos = endpoint_qos(o);
    dds_entity_t writer = dds_create_writer(participant, topic, qos, NULL);
    dds_delete_qos(qos);
    if (writer < 0) {
        fprintf(stderr, "cyclone peer: create writer: %s\n", dds_strretcode(writer));
        return 1;
    }
    if (!wait_for_reader(writer, o->wait_s)) {
        printf("cyclone peer: no reader\n");
        return 1;
    }
    printf("cyclone peer: matched\n");
    /* The reader matches this writer a moment after the writer matched it; a best-effort
     * sample sent in between would be lost. */
    dds_sleepfor(DDS_MSECS(500));
    for (int issue = 0; issue < o->count; ++issue) {
        dds_return_t rc = send_issue(writer, issue, o->keys);
        if (rc != DDS_RETCODE_OK) {
            printf("cyclone peer: write error %s\n", dds_strretcode(rc));
        }
        fflush(stdout);
        dds_sleepfor(DDS_MSECS(o->period_ms));
    }
    return 0;
}

static void report(const PingType* sample, const dds_sample_info_t* info) {
    if (info->valid_data) {
#ifdef KEYED
        printf("cyclone peer: key %d issue %07d\n", sample->key, sample->number);
#else
        printf("cyclone peer: issue %07d\n", sample->number);
#endif
        return;
    }
    /* An invalid sample still carries the instance's key fields. */
    const char* state = info->instance_state == DDS_IST_NOT_ALIVE_DISPOSED ? "disposed"
                                                                            : "no writers";
#ifdef KEYED
    printf("cyclone peer: key %d %s\n", sample->key, state);
#else
    (void)sample;
    printf("cyclone peer: %s\n", state);
#endif
}

static int subscribe(dds_entity_t participant, dds_entity_t topic, const struct options* o) {
    dds_qos_t* qos = endpoint_qos(o);
    dds_entity_t reader = dds_create_reader(participant, topic, qos, NULL);
    dds_delete_qos(qos);
    if (reader < 0) {
        fprintf(stderr, "cyclone peer: create reader: %s\n", dds_strretcode(reader));
        return 1;
    }
    int received = 0;
    for (int idle_ms = 0; idle_ms < o->timeout_s * 1000;) {
        void* samples[MAX_TAKE] = {NULL};
        dds_sample_info_t infos[MAX_TAKE];
        dds_return_t n = dds_take(reader, samples, infos, MAX_TAKE, MAX_TAKE);
        if (n <= 0) {
            dds_sleepfor(DDS_MSECS(10));
            idle_ms += 10;
            continue;
        }
        for (dds_return_t i = 0; i < n; ++i) {
            report(samples[i], &infos[i]);
        }
        dds_return_loan(reader, samples, n);
        fflush(stdout);
        received += n;
        idle_ms = 0;
    }
    printf("cyclone peer: timeout after %d samples\n", received);
    return received > 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    struct options o;
    if (!parse_options(argc, argv, &o)) {
        fprintf(stderr, "usage: %s pub|sub [options]\n", argv[0]);
        return 2;
    }
    dds_entity_t participant = dds_create_participant(o.domain, NULL, NULL);
    if (participant < 0) {
        fprintf(stderr, "cyclone peer: create participant: %s\n", dds_strretcode(participant));
        return 1;
    }
    dds_entity_t topic = dds_create_topic(participant, &PingType_desc, o.topic, NULL, NULL);
    int status = topic < 0 ? 1 : o.publish ? publish(participant, topic, &o)
                                           : subscribe(participant, topic, &o);
    fflush(stdout);
    dds_delete(participant);
    return status;
}
