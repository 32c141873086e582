#!/bin/sh
# Makes "another machine" below FOLDER and begins to listen for it: keys and configuration of an sshd at a port of the
# loopback address, the folders of its user, whose plant has the controller "Kiln" with the item "Heat", and an ssh that
# knows it by several names. Neither the system's service nor the user's ~/.ssh is touched.
# usage: private-sshd.sh FOLDER PROGRAMS     (again with the same FOLDER: listens again)
set -eu
folder=$1 programs=$2
umask 077
cd "$folder"
[ "$(id -u)" != 0 ] || mkdir -p /run/sshd # where root's sshd locks its helpers up
[ ! -e sshd ] || exec /usr/sbin/sshd -D -e -f "$folder/sshd"

port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
for side in here there; do mkdir -p $side/run $side/state $side/config/velsql $side/bin; done
for key in host user stranger; do ssh-keygen -qt ed25519 -N '' -f $key; done
cp user.pub authorized
printf 'plant %s\nchanged %s\n' "$(cat host.pub)" "$(cat user.pub)" > known
cat > there/config/velsql/plant.toml <<END
[[controller]]
name = "Kiln"
[[controller.item]]
name = "Heat"
value = 7
END
cat > ssh <<END
Host changed
  HostKeyAlias changed
Host unknown
  HostKeyAlias unknown
Host stranger
  IdentityFile $folder/stranger
Host behind
  ProxyJump plant
Host plant changed unknown behind
  IdentityFile $folder/user
Host plant changed unknown behind stranger
  HostName 127.0.0.1
  Port $port
  HostKeyAlias plant
  IdentitiesOnly yes
  IdentityAgent none
  UserKnownHostsFile $folder/known
  GlobalKnownHostsFile none
END
cat > here/bin/ssh <<END
#!/bin/sh
exec /usr/bin/ssh -F $folder/ssh "\$@"
END
chmod +x here/bin/ssh
cat > sshd <<END
ListenAddress 127.0.0.1:$port
HostKey $folder/host
AuthorizedKeysFile $folder/authorized
AuthenticationMethods publickey
PidFile none
StrictModes no
UsePAM no
PermitRootLogin yes
SetEnv PATH=$folder/there/bin:$programs:/usr/bin:/bin XDG_RUNTIME_DIR=$folder/there/run XDG_STATE_HOME=$folder/there/state XDG_CONFIG_HOME=$folder/there/config
END
exec /usr/sbin/sshd -D -e -f "$folder/sshd"
