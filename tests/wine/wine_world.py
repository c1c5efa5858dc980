"""The world of tools/rehearsal with a machine of Wine in it, in a network where each address is what it
says."""

from described_machine import DescribedMachine
from world import APPLIANCE, APPLIANCE_ADDRESS, CONTROLLER, NOWHERE, World

CONTROLLER_ADDRESS = '192.0.2.30'


def names_of(description):
    """What the network's DNS server has to know: the machine's own names, and the hosts that it meets."""
    return {**description['dns']['names'], APPLIANCE: [{'value': APPLIANCE_ADDRESS}],
            CONTROLLER: [{'value': CONTROLLER_ADDRESS}]}


class WineWorld(World):
    def __init__(self, settings, programs, folder, scratch, narrator, network):
        self._network = network
        super().__init__(settings, programs, folder, scratch, narrator)

    def _make_machine(self, folder):
        return DescribedMachine(f'rehearsal.{self.settings.machine}', super()._make_machine(folder))

    def describe_machine(self):
        super().describe_machine()
        for place, target in self._addresses().items():
            if target != NOWHERE:
                self._lead(place, target)
        self.machine.boot()

    def _lead(self, place, target):
        """An entry of the lab's address map, as a host of the network."""
        host, _, port = place.rpartition(':')
        if host == 'localhost':
            self._network.forward('127.0.0.1', int(port), target)
            return
        address = CONTROLLER_ADDRESS if host == CONTROLLER else host
        self._network.add_host(address)
        self._network.forward(address, int(port), target)
