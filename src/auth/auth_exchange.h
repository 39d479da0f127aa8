// The login exchange that opens every connection: opening message (client nonce and
// user name), refusal or challenge (server nonce and the name sealed with the client's
// nonce), response (the password sealed with the server's nonce), 8-byte verdict. All
// sealing is DES-ECB under kBuiltInKey; passwords never cross the wire in clear.
#ifndef CAMRCD_AUTH_AUTH_EXCHANGE_H_
#define CAMRCD_AUTH_AUTH_EXCHANGE_H_

#include <stdint.h>

#include "platform/net_io.h"
#include "protocol/login_message.h"

namespace camrcd {

// The sealing step both sides use. Builds a 256-byte block whose byte i, for i from 0
// up to and including strlen(text) (the zero byte is mixed too), is
// text[i] ^ nonce[i % 4], and whose other bytes are zero; then encrypts the block in
// place with DES-ECB under kBuiltInKey into `out`. A text longer than 255 characters
// is mixed over the 256 bytes only. The server seals the user name with the client's
// nonce (challenge) and the password with its own nonce (expected response); a client
// seals its password with the challenge's nonce, bytes in wire order.
void seal_mixed_text(const char* text, const uint8_t nonce[4], uint8_t out[kAuthDataSize]);

// Turns `message`, which still holds the opening message, into the challenge for
// `name`: a fresh server nonce (make_nonce, least significant byte first) copied to
// nonce_out, type 1, length 260, status 0, data = the name sealed with the client's
// nonce (offset 8 of the opening message). All 268 bytes are rewritten.
void make_challenge(uint8_t* message, uint8_t nonce_out[4], const char* name);

// Checks a received response against the password: 0 right, -1 when its length field
// is not 260 (nothing else examined), -2 when its data differs from the password
// sealed with the server's nonce.
int check_response(const uint8_t* response, const uint8_t nonce[4], const char* password);

// Runs the whole exchange on a connected socket. Returns 0 once the client has proved a
// password (verdict 3 sent); -1 after a refusal, a wrong or malformed response (the
// refusal or verdict was sent) or when no buffer could be had; -8 when receiving a
// message failed, also when `deadline` (net_io.h) passed before it came; or the code
// of the net_send that failed (-30, -31, -32).
int authenticate_client(int socket, int64_t deadline = kNoDeadline);

}  // namespace camrcd

#endif  // CAMRCD_AUTH_AUTH_EXCHANGE_H_
