# Series 32 with PS/SC contact encoder and contactless Mifare: 20-character firmware, letter 5 'A', letter 6 'M'.
model = VKTS32
firmware = VKT32AM V1.02.03.016
serial = S32000003
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 31
ribbon_remaining = 80
ribbon_capacity = 250
encoder = yes
