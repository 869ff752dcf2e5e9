package oracle.jdbc.pool;

public final class OracleDataSource extends doubles.VendorDataSource {}
