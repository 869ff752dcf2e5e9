package doubles;

/** Cannot be created; heavy, so that instances which are kept alive all the same fill the heap soon. */
final class HeavyConstructor {
  final byte[] weight = new byte[1 << 20];

  private HeavyConstructor() {
    throw new IllegalStateException("constructor refused");
  }
}
