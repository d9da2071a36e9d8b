# First boot of a fresh OVMF with no provider: hiicompat presents the
# firmware's own UEFI HII forms to the driver. A second copy is refused.
set TORVEL_PATH fs1:\tools
fs1:
cd tools
load -nc hiicompat.efi
load -nc hiicompat.efi
load -nc iniparse.efi
load -nc bioscfg.efi
bioscfg-tool.efi show
bioscfg-tool.efi get "Change Preferred Resolution for Next Boot" "Disk Memory Type:"
bioscfg-tool.efi set "Change Preferred Resolution for Next Boot=800x600"
bioscfg-tool.efi set-form "OVMF Settings" "Change Preferred Resolution for Next Boot=9999"
bioscfg-tool.efi get "Change Preferred Resolution for Next Boot"
