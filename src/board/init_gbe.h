// Opens a frame grabber board as a network interface.
#pragma once

class GigeCamera;

// Opens board 0 to 7: takes the hardware, checks that it is an Ethernet board, loads the applet that matches
// its firmware. With `resetPhy` other than 0 it also resets the PHYs and waits for them, which takes seconds,
// and for another program that is at them. The result is the caller's, who calls deinit() before deleting it;
// null when any step failed, with everything given back.
GigeCamera* init_gbe(int board, int resetPhy);
