# Second boot of the same machine: the platform driver kept the change in
# its own variable, and hiicompat reads it back through Config Routing.
dmpstore -guid 7235C51C-0C80-4CAB-87AC-3B084A6304B1 PlatformConfig
set TORVEL_PATH fs1:\tools
fs1:
cd tools
load -nc hiicompat.efi
load -nc iniparse.efi
load -nc bioscfg.efi
bioscfg-tool.efi get "Change Preferred Resolution for Next Boot"
