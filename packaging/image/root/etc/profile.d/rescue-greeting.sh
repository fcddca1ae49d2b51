# A login on a console begins with the disks. One over the network does not.
case $- in
*i*) [ -n "${SSH_CONNECTION-}" ] || rescue-greeting ;;
esac
