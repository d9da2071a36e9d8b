# First boot of a fresh machine: the provider and the driver on OVMF.
# `load -nc`: after a plain `load` the Shell connects every handle, and it
# hangs on a handle whose device path is only the end node (the provider's
# root device); -nc starts a driver without that step.
map
set TORVEL_PATH fs1:\tools
# A variable the firmware holds already, in another size than the
# platform's: the provider keeps it and says so.
setvar IoConfig -guid 43F431E9-20AF-45D0-928E-6AE8289A7036 -nv -bs -rt =01020304
fs1:
cd tools
load -nc hiiprovider.efi
load -nc hiiprovider.efi
load -nc bioscfg.efi
load -nc bioscfg.efi
