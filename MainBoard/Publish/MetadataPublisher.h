#pragma once
// Binding and tear-down of the metadata publisher by the process frame.

// Binds the publisher's PUB socket to dlbMetadataPub.ipc (rebinding from
// scratch when it was bound before) and records the card's slot.
void initPubs(int slot);

// Closes the socket and frees the frames; the publisher object stays until
// exit.
void cleanPubs();
