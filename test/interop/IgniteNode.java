import java.util.Collections;
import org.apache.ignite.Ignite;
import org.apache.ignite.Ignition;
import org.apache.ignite.configuration.ClientConnectorConfiguration;
import org.apache.ignite.configuration.IgniteConfiguration;
import org.apache.ignite.spi.communication.tcp.TcpCommunicationSpi;
import org.apache.ignite.spi.discovery.tcp.TcpDiscoverySpi;
import org.apache.ignite.spi.discovery.tcp.ipfinder.vm.TcpDiscoveryVmIpFinder;

/**
 * One of two nodes of a cluster on this machine, on loopback. Its arguments: its number, the first of six ports for
 * both, and a folder. It says READY once both are there, and ends with its standard input.
 */
public final class IgniteNode {
  private static final String HOST = "127.0.0.1";
  private static final int NODES = 2;

  public static void main(String[] arguments) throws Exception {
    int number = Integer.parseInt(arguments[0]);
    int port = Integer.parseInt(arguments[1]);
    TcpDiscoveryVmIpFinder finder = new TcpDiscoveryVmIpFinder();
    finder.setAddresses(Collections.singletonList(HOST + ":" + port + ".." + (port + NODES - 1)));
    TcpDiscoverySpi discovery = new TcpDiscoverySpi();
    discovery.setIpFinder(finder).setLocalPort(port + number).setLocalPortRange(0);
    TcpCommunicationSpi communication = new TcpCommunicationSpi();
    communication.setLocalPort(port + NODES + number);
    ClientConnectorConfiguration clients = new ClientConnectorConfiguration();
    clients.setHost(HOST).setPort(port + 2 * NODES + number).setPortRange(0);
    Ignite node = Ignition.start(new IgniteConfiguration()
                                     .setIgniteInstanceName("node" + number)
                                     .setLocalHost(HOST)
                                     .setWorkDirectory(arguments[2])
                                     .setDiscoverySpi(discovery)
                                     .setCommunicationSpi(communication)
                                     .setClientConnectorConfiguration(clients)
                                     .setConnectorConfiguration(null));
    while (node.cluster().nodes().size() < NODES) Thread.sleep(50);
    System.out.println("READY");
    while (System.in.read() >= 0) continue;
    Runtime.getRuntime().halt(0);
  }
}
