// A stand-in for the ALSA sequencer of a machine without sound devices, to preload into a host that
// won't start without one. It has queues with a clock and takes events, but there is nobody to
// exchange them with. What only works on memory stays the library's own.
//     cc -shared -fPIC sequencer.c -o sequencer.so
#define _GNU_SOURCE
#include <alsa/asoundlib.h>
#include <stdint.h>
#include <time.h>
#include <unistd.h>

static int pipe_ends[2] = {-1, -1}; // nothing ever comes: whoever waits for input sleeps
static int ports;

// The queue: what was counted until `since`, and what has passed from then on while it runs.
static snd_seq_queue_tempo_t* tempo_now;
static double ticks_before;
static double since;
static int runs;

static double seconds(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + 1e-9 * (double)now.tv_nsec;
}

static double ticks(void)
{
    if (!runs || !tempo_now)
        return ticks_before;
    const double skew = (double)snd_seq_queue_tempo_get_skew(tempo_now) /
                        (double)snd_seq_queue_tempo_get_skew_base(tempo_now);
    return ticks_before + (seconds() - since) * 1e6 * skew *
                              snd_seq_queue_tempo_get_ppq(tempo_now) /
                              snd_seq_queue_tempo_get_tempo(tempo_now);
}

static void count_until_now(void)
{
    ticks_before = ticks();
    since = seconds();
}

int snd_seq_open(snd_seq_t** handle, const char* name, int streams, int mode)
{
    (void)name, (void)streams, (void)mode;
    if (pipe_ends[0] < 0 && pipe(pipe_ends) != 0)
        return -ENOENT;
    if (!tempo_now) {
        snd_seq_queue_tempo_malloc(&tempo_now);
        snd_seq_queue_tempo_set_tempo(tempo_now, 500000);
        snd_seq_queue_tempo_set_ppq(tempo_now, 96);
        snd_seq_queue_tempo_set_skew(tempo_now, 0x10000);
        snd_seq_queue_tempo_set_skew_base(tempo_now, 0x10000);
    }
    *handle = (snd_seq_t*)(void*)pipe_ends;
    return 0;
}

int snd_seq_control_queue(snd_seq_t* seq, int queue, int type, int value, snd_seq_event_t* event)
{
    (void)seq, (void)queue, (void)event;
    count_until_now();
    if (type == SND_SEQ_EVENT_START)
        ticks_before = 0.0;
    if (type == SND_SEQ_EVENT_START || type == SND_SEQ_EVENT_CONTINUE)
        runs = 1;
    if (type == SND_SEQ_EVENT_STOP)
        runs = 0;
    if (type == SND_SEQ_EVENT_TEMPO)
        snd_seq_queue_tempo_set_tempo(tempo_now, (unsigned)value);
    return 0;
}

int snd_seq_set_queue_tempo(snd_seq_t* seq, int queue, snd_seq_queue_tempo_t* tempo)
{
    (void)seq, (void)queue;
    count_until_now();
    snd_seq_queue_tempo_copy(tempo_now, tempo);
    if (snd_seq_queue_tempo_get_skew_base(tempo_now) == 0) { // "as it was", to the kernel
        snd_seq_queue_tempo_set_skew(tempo_now, 0x10000);
        snd_seq_queue_tempo_set_skew_base(tempo_now, 0x10000);
    }
    return 0;
}

int snd_seq_get_queue_tempo(snd_seq_t* seq, int queue, snd_seq_queue_tempo_t* tempo)
{
    (void)seq, (void)queue;
    snd_seq_queue_tempo_copy(tempo, tempo_now);
    return 0;
}

int snd_seq_get_queue_status(snd_seq_t* seq, int queue, snd_seq_queue_status_t* status)
{
    (void)seq, (void)queue, (void)status;
    return 0;
}

snd_seq_tick_time_t snd_seq_queue_status_get_tick_time(const snd_seq_queue_status_t* status)
{
    (void)status;
    return (snd_seq_tick_time_t)ticks();
}

int snd_seq_poll_descriptors(snd_seq_t* seq, struct pollfd* fds, unsigned space, short events)
{
    (void)seq, (void)events;
    if (space > 0)
        *fds = (struct pollfd){.fd = pipe_ends[0], .events = POLLIN};
    return space > 0;
}

int snd_seq_event_input(snd_seq_t* seq, snd_seq_event_t** event)
{
    (void)seq;
    *event = NULL;
    usleep(1000);
    return -EAGAIN;
}

// Everything else agrees and does nothing, or finds nothing.
#define ANSWER(value, name, ...)                                                                   \
    int name(__VA_ARGS__) { return value; }
#pragma GCC diagnostic ignored "-Wunused-parameter"
ANSWER(0, snd_seq_close, snd_seq_t* seq)
ANSWER(128, snd_seq_client_id, snd_seq_t* seq)
ANSWER(0, snd_seq_set_client_name, snd_seq_t* seq, const char* name)
ANSWER(ports++, snd_seq_create_simple_port, snd_seq_t* seq, const char* name, unsigned caps,
       unsigned type)
ANSWER(0, snd_seq_delete_simple_port, snd_seq_t* seq, int port)
ANSWER(0, snd_seq_alloc_queue, snd_seq_t* seq)
ANSWER(0, snd_seq_free_queue, snd_seq_t* seq, int queue)
ANSWER(0, snd_seq_drain_output, snd_seq_t* seq)
ANSWER(0, snd_seq_drop_input, snd_seq_t* seq)
ANSWER(0, snd_seq_drop_output, snd_seq_t* seq)
ANSWER(0, snd_seq_event_input_pending, snd_seq_t* seq, int fetch)
ANSWER(1, snd_seq_event_output, snd_seq_t* seq, snd_seq_event_t* event)
ANSWER(1, snd_seq_event_output_direct, snd_seq_t* seq, snd_seq_event_t* event)
ANSWER(1, snd_seq_poll_descriptors_count, snd_seq_t* seq, short events)
ANSWER(0, snd_seq_remove_events, snd_seq_t* seq, snd_seq_remove_events_t* which)
ANSWER(0, snd_seq_get_port_info, snd_seq_t* seq, int port, snd_seq_port_info_t* info)
ANSWER(0, snd_seq_set_port_info, snd_seq_t* seq, int port, snd_seq_port_info_t* info)
ANSWER(0, snd_seq_set_queue_timer, snd_seq_t* seq, int queue, snd_seq_queue_timer_t* timer)
ANSWER(-ENOENT, snd_seq_get_any_client_info, snd_seq_t* seq, int id, snd_seq_client_info_t* info)
ANSWER(-ENOENT, snd_seq_get_any_port_info, snd_seq_t* seq, int client, int port,
       snd_seq_port_info_t* info)
ANSWER(-ENOENT, snd_seq_query_next_client, snd_seq_t* seq, snd_seq_client_info_t* info)
ANSWER(-ENOENT, snd_seq_query_next_port, snd_seq_t* seq, snd_seq_port_info_t* info)
ANSWER(-ENOENT, snd_seq_query_port_subscribers, snd_seq_t* seq, snd_seq_query_subscribe_t* query)
ANSWER(-ENOENT, snd_seq_subscribe_port, snd_seq_t* seq, snd_seq_port_subscribe_t* which)
ANSWER(-ENOENT, snd_seq_unsubscribe_port, snd_seq_t* seq, snd_seq_port_subscribe_t* which)
