/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_KIT_AGENT_COMMANDS_H
#define KORVANE_KIT_AGENT_COMMANDS_H

/*
 * The requests that the kit's agent serves. A request is an int32, the command,
 * an int32, its argument, and further values for KIT_ECHO. A reply is the
 * command, unless another is given. An event is an int32, its number.
 *
 * The agent writes a line to its standard output when it accepts connections,
 * and ends at the end of its standard input.
 */
enum kit_command {
    KIT_PING = 1,         /* replies */
    KIT_ECHO = 2,         /* replies with the whole request */
    KIT_EVENTS = 3,       /* sends events 0 to argument - 1, then replies */
    KIT_SILENT = 4,       /* does not reply */
    KIT_CLOSE = 5,        /* closes the connection without a reply */
    KIT_EVENTS_CLOSE = 6, /* sends events 0 to argument - 1, then closes the connection without a reply */
    KIT_HALF = 7,         /* sends the first bytes of a parcel, then closes the connection */
    KIT_REFUSE = 8,       /* replies, and refuses the next proxy */
    KIT_TOO_LARGE = 9,    /* announces a parcel that is larger than any permitted one */
};

#endif
