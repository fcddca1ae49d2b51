// Is compiled for its precompiled header, which every test program uses.
int main()
{
    return 0;
}
