# Second boot of the same machine: what the provider created persisted.
# hii.bin and variables.txt now lie next to the provider.
dmpstore -guid C7F7C970-FCFF-455D-A884-F67C0E300856 Setup
# Removing the odd-sized variable lets the provider create it afresh.
dmpstore -d -guid 43F431E9-20AF-45D0-928E-6AE8289A7036 IoConfig
fs1:
cd tools
load -nc hiiprovider.efi
load -nc bioscfg.efi
# A file written by the firmware, for the host to read back.
dmpstore -guid C7F7C970-FCFF-455D-A884-F67C0E300856 Setup -s setup.dmp
