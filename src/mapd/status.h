// The message that carries the status of an access category to mapd while it manages
// the access point.
#pragma once

// Sends the status of every access category that has news. One that could not
// be sent keeps its mark and is sent by the next call.
void tspec_mapd_status_update_msg_send();
